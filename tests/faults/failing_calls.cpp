// In front of the C library: the n-th call of a kind fails, once, or all reads and writes are cut short.
//
//   LD_PRELOAD=libfailing_calls.so FAULT="read 3 5" FAULT_MARK=file program    the third read fails with
//   errno 5 LD_PRELOAD=libfailing_calls.so FAULT="short" program                       no read or write moves
//   more than 3 bytes
//
// The mark is made when a call has failed. Calls that the C library makes on its own are not seen.
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

char kind[16];
std::atomic<int> left;
int error;

[[gnu::constructor]] void configure()
{
    int nth = 0;
    if (const char* fault = std::getenv("FAULT"))
        std::sscanf(fault, "%15s %d %d", kind, &nth, &error);
    left = nth;
}

bool fails(const char* called)
{
    if (std::strcmp(kind, called) != 0 || --left != 0)
        return false;
    if (const char* mark = std::getenv("FAULT_MARK"))
        syscall(SYS_close, syscall(SYS_openat, AT_FDCWD, mark, O_CREAT | O_WRONLY, 0600));
    errno = error;
    return true;
}

std::size_t cut(std::size_t size)
{
    return std::strcmp(kind, "short") == 0 && size > 3 ? 3 : size;
}

template <class Function> Function* next(const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

// FORWARD(kind, name, result of a failure, result type, (parameters), (arguments))
// The names are given to the assembler alone: the headers declare some of them otherwise.
#define FORWARD(kind, name, failed, result, parameters, arguments)                                           \
    extern "C" result failing_##name parameters asm(#name);                                                  \
    extern "C" result failing_##name parameters                                                              \
    {                                                                                                        \
        static auto* const real = next<result parameters>(#name);                                            \
        return fails(kind) ? failed : real arguments;                                                        \
    }

FORWARD("open", open, -1, int, (const char* path, int flags, mode_t mode), (path, flags, mode))
FORWARD("open", open64, -1, int, (const char* path, int flags, mode_t mode), (path, flags, mode))
FORWARD("open", openat, -1, int, (int at, const char* path, int flags, mode_t mode), (at, path, flags, mode))
FORWARD("open", openat64, -1, int, (int at, const char* path, int flags, mode_t mode),
        (at, path, flags, mode))
FORWARD("open", fopen64, nullptr, FILE*, (const char* path, const char* mode), (path, mode))
FORWARD("read", read, -1, ssize_t, (int file, void* to, std::size_t size), (file, to, cut(size)))
FORWARD("read", pread64, -1, ssize_t, (int file, void* to, std::size_t size, off64_t at),
        (file, to, size, at))
FORWARD("write", write, -1, ssize_t, (int file, const void* from, std::size_t size), (file, from, cut(size)))
FORWARD("close", close, (syscall(SYS_close, file), -1), int, (int file), (file))
FORWARD("rename", rename, -1, int, (const char* from, const char* to), (from, to))
FORWARD("rename", renameat, -1, int, (int at, const char* from, int to, const char* name),
        (at, from, to, name))
FORWARD("unlink", unlink, -1, int, (const char* path), (path))
FORWARD("unlink", unlinkat, -1, int, (int at, const char* path, int flags), (at, path, flags))
FORWARD("stat", stat64, -1, int, (const char* path, struct stat64* to), (path, to))
FORWARD("stat", stat, -1, int, (const char* path, struct stat* to), (path, to))
FORWARD("stat", lstat, -1, int, (const char* path, struct stat* to), (path, to))
FORWARD("stat", fstat, -1, int, (int file, struct stat* to), (file, to))
FORWARD("stat", fstatat, -1, int, (int at, const char* path, struct stat* to, int flags),
        (at, path, to, flags))
FORWARD("clock", clock_gettime, -1, int, (clockid_t clock, timespec* to), (clock, to))
FORWARD("clock", time, -1, std::time_t, (std::time_t * to), (to))
