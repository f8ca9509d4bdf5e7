#include "platform/program/FileLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace vqloan::program {

namespace {

// Without following a link, without waiting. Somebody else's file can be locked as well, read only.
int openLock(const std::filesystem::path& file)
{
    constexpr int strict = O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
    const int opened = open(file.c_str(), O_RDWR | O_CREAT | strict, 0666);
    if (opened >= 0 || errno != EACCES)
        return opened;
    const int readable = open(file.c_str(), O_RDONLY | strict);
    if (readable < 0)
        errno = EACCES; // where there is none, that it cannot be made is what has failed
    return readable;
}

// Whether the file that is open here still has this name. Another may have it by now, in a directory that was
// replaced.
bool isNamed(int opened, const std::filesystem::path& file)
{
    struct stat mine, there;
    return fstat(opened, &mine) == 0 && lstat(file.c_str(), &there) == 0 && mine.st_ino == there.st_ino &&
           mine.st_dev == there.st_dev;
}

[[noreturn]] void fail(int error, const std::filesystem::path& file)
{
    throw std::system_error(error, std::generic_category(), file.string());
}

} // namespace

std::optional<FileLock> FileLock::tryTake(const std::filesystem::path& file)
{
    for (;;) {
        const int opened = openLock(file);
        if (opened < 0)
            fail(errno, file);
        FileLock lock({}, opened); // without a name it only closes
        struct stat mine;
        if (fstat(opened, &mine) != 0 || !S_ISREG(mine.st_mode))
            fail(EINVAL, file);
        if (flock(opened, LOCK_EX | LOCK_NB) != 0) {
            if (errno == EWOULDBLOCK)
                return std::nullopt;
            fail(errno, file);
        }
        // Left by one that was killed: the new one is another file, so that others can tell who asks.
        if (mine.st_size > 0) {
            if (unlink(file.c_str()) != 0 && errno != ENOENT)
                fail(errno, file);
            continue;
        }
        // Its last holder may have removed it before it was locked here; then it locks nothing.
        if (!isNamed(opened, file))
            continue;
        lock.file_ = file;
        const std::string who = "process " + std::to_string(getpid()) + "\n";
        static_cast<void>(!(ftruncate(opened, 0) == 0 && pwrite(opened, who.data(), who.size(), 0) > 0));
        return lock;
    }
}

bool FileLock::isHeld(const std::filesystem::path& file) noexcept
{
    const int opened = open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY);
    if (opened < 0)
        return false;
    const bool held = flock(opened, LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    close(opened);
    return held;
}

std::string FileLock::holder(const std::filesystem::path& file)
{
    const int opened = open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY);
    if (opened < 0)
        return {};
    char text[64];
    const ssize_t size = read(opened, text, sizeof text);
    close(opened);
    const std::string all(text, size > 0 ? static_cast<std::size_t>(size) : 0);
    return all.substr(0, all.find('\n'));
}

FileLock::~FileLock()
{
    if (handle_ == none)
        return;
    if (!file_.empty() && isNamed(static_cast<int>(handle_), file_))
        unlink(file_.c_str());
    close(static_cast<int>(handle_));
}

} // namespace vqloan::program
