#include "platform/runtime/OsFile.h"

#include <cerrno>
#include <string>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/runtime/RuntimeError.h"
#include "platform/runtime/Text.h"

namespace vqloan::os {
namespace {

// The system would stop reading a path at an embedded 0 and take another file than the one named.
bool isNamable(const std::string& path)
{
    return path.find('\0') == path.npos;
}

std::string nativePath(std::u16string_view path)
{
    if (path.empty())
        throw RuntimeError(Failure::PathFileAccessError, ENOENT);
    std::string native = text::toUtf8(path);
    if (!isNamable(native))
        throw RuntimeError(Failure::BadFileNumber, EINVAL);
    return native;
}

bool isDirectory(const std::string& path)
{
    struct stat status;
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool isDirectoryThere(const std::string& path)
{
    const auto slash = path.rfind('/');
    return slash == path.npos || isDirectory(path.substr(0, slash + 1));
}

Failure failureOf(int error, Failure otherwise)
{
    switch (error) {
    case EACCES:
    case EPERM:
    case EBUSY:
    case ETXTBSY:
        return Failure::PermissionDenied;
    case ENOTDIR:
        return Failure::PathNotFound;
    case ENAMETOOLONG:
        return Failure::BadFileNumber;
    case EISDIR:
    case EROFS:
        return Failure::PathFileAccessError;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
        return Failure::DiskFull;
    case EIO:
        return Failure::DeviceIoError;
    case EMFILE:
    case ENFILE:
        return Failure::TooManyFiles;
    case ENOMEM:
        return Failure::OutOfMemory;
    default:
        return otherwise;
    }
}

[[noreturn]] void failOnPath(const std::string& path)
{
    const int error = errno;
    if (error == ENOENT)
        throw RuntimeError(isDirectoryThere(path) ? Failure::FileNotFound : Failure::PathNotFound, error);
    throw RuntimeError(failureOf(error, Failure::PathFileAccessError), error);
}

[[noreturn]] void failOnDevice()
{
    const int error = errno;
    throw RuntimeError(failureOf(error, Failure::DeviceIoError), error);
}

std::int64_t nanoseconds(const struct timespec& time)
{
    return time.tv_sec * 1'000'000'000LL + time.tv_nsec;
}

FileState stateFrom(const struct stat& status)
{
    return {.device = status.st_dev,
            .file = status.st_ino,
            .size = status.st_size,
            .modified = nanoseconds(status.st_mtim),
            .changed = nanoseconds(status.st_ctim)};
}

int descriptor(std::intptr_t handle)
{
    return static_cast<int>(handle);
}

// Negative where it fails.
int open(const std::string& native, File::Mode mode)
{
    // O_NONBLOCK means nothing for a regular file; without it a FIFO under that name would hang the caller.
    const int flags = O_CLOEXEC | O_NOCTTY | O_NONBLOCK |
                      (mode == File::Mode::Write ? O_WRONLY | O_CREAT | O_TRUNC : O_RDONLY);
    int opened;
    do
        opened = ::open(native.c_str(), flags, 0666);
    while (opened < 0 && errno == EINTR);
    return opened;
}

} // namespace

File::File(std::u16string_view path, Mode mode)
{
    const std::string native = nativePath(path);
    handle_ = open(native, mode);
    if (handle_ < 0)
        failOnPath(native);
}

std::optional<File> File::tryOpen(std::u16string_view path)
{
    const std::string native = text::toUtf8(path);
    const int opened = isNamable(native) ? open(native, Mode::Read) : -1;
    return opened < 0 ? std::nullopt : std::optional(File(std::intptr_t{opened}));
}

File::~File()
{
    if (handle_ >= 0)
        ::close(descriptor(handle_));
}

std::size_t File::read(char* buffer, std::size_t size)
{
    for (;;) {
        const ssize_t count = ::read(descriptor(handle_), buffer, size);
        if (count >= 0)
            return static_cast<std::size_t>(count);
        if (errno != EINTR)
            failOnDevice();
    }
}

void File::write(std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t count = ::write(descriptor(handle_), bytes.data(), bytes.size());
        if (count >= 0)
            bytes.remove_prefix(static_cast<std::size_t>(count));
        else if (errno != EINTR)
            failOnDevice();
    }
}

void File::close()
{
    // Never tried again: an interrupted close has closed all the same, and the number may be another file's
    // by now.
    if (::close(descriptor(std::exchange(handle_, noHandle))) != 0 && errno != EINTR)
        failOnDevice();
}

FileState File::state() const
{
    struct stat status;
    if (::fstat(descriptor(handle_), &status) != 0)
        failOnDevice();
    return stateFrom(status);
}

void removeFile(std::u16string_view path)
{
    const std::string native = nativePath(path);
    if (::unlink(native.c_str()) != 0) {
        // Some systems say EPERM where the name is a directory's.
        if (errno == EPERM && isDirectory(native))
            errno = EISDIR;
        failOnPath(native);
    }
}

std::optional<FileState> stateOf(std::u16string_view path)
{
    const std::string native = text::toUtf8(path);
    struct stat status;
    if (!isNamable(native) || ::stat(native.c_str(), &status) != 0)
        return std::nullopt;
    return stateFrom(status);
}

bool isReadableFile(std::u16string_view path)
{
    const std::string native = text::toUtf8(path);
    struct stat status;
    return isNamable(native) && ::stat(native.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
           ::access(native.c_str(), R_OK) == 0;
}

std::u16string_view separators() noexcept
{
    return u"/";
}

} // namespace vqloan::os
