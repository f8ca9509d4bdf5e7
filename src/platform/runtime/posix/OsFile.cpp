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

// A byte of a path that is not UTF-8. Half of a pair it cannot be.
bool isByte(std::u16string_view text, std::size_t at)
{
    return text[at] >= 0xDC80 && text[at] <= 0xDCFF && (at == 0 || !text::isHighSurrogate(text[at - 1]));
}

std::string toBytes(std::u16string_view text)
{
    std::string bytes;
    for (std::size_t at = 0; at < text.size();)
        if (isByte(text, at)) {
            bytes += text::toUtf8(text.substr(0, at)) + static_cast<char>(text[at] & 0xFF);
            text.remove_prefix(at + 1);
            at = 0;
        } else {
            ++at;
        }
    return bytes.empty() ? text::toUtf8(text) : bytes + text::toUtf8(text);
}

std::string openablePath(std::u16string_view path)
{
    if (path.empty())
        throw RuntimeError(Failure::PathFileAccessError, ENOENT);
    std::string native = toBytes(path);
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

// The same call until no signal interrupts it.
template <class Call> auto uninterrupted(Call call)
{
    auto result = call();
    while (result < 0 && errno == EINTR)
        result = call();
    return result;
}

// Whether an opened file may be used; an existing one is only emptied when that is sure.
bool isPrepared(int opened, File::Mode mode)
{
    struct stat status;
    if (::fstat(opened, &status) != 0)
        return false;
    if (!S_ISREG(status.st_mode)) {
        errno = S_ISDIR(status.st_mode) ? EISDIR : ENXIO;
        return false;
    }
    return mode == File::Mode::Read || status.st_size == 0 ||
           uninterrupted([&] { return ::ftruncate(opened, 0); }) == 0;
}

// Negative where it fails.
int open(const std::string& native, File::Mode mode, Place place)
{
    // O_NONBLOCK means nothing for a regular file; without it a FIFO under that name would hang the caller.
    const int flags = O_CLOEXEC | O_NOCTTY | O_NONBLOCK | (place == Place::shared ? O_NOFOLLOW : 0) |
                      (mode == File::Mode::Write ? O_WRONLY | O_CREAT : O_RDONLY);
    const int opened = uninterrupted([&] { return ::open(native.c_str(), flags, 0666); });
    if (opened < 0 || isPrepared(opened, mode))
        return opened;
    const int error = errno;
    ::close(opened);
    errno = error;
    return -1;
}

} // namespace

File::File(std::u16string_view path, Mode mode, Place place)
{
    const std::string native = openablePath(path);
    handle_ = open(native, mode, place);
    if (handle_ < 0)
        failOnPath(native);
}

std::optional<File> File::tryOpen(std::u16string_view path)
{
    const std::string native = toBytes(path);
    const int opened = isNamable(native) ? open(native, Mode::Read, Place::shared) : -1;
    return opened < 0 ? std::nullopt : std::optional(File(std::intptr_t{opened}));
}

File::~File()
{
    if (handle_ >= 0)
        ::close(descriptor(handle_));
}

std::size_t File::read(char* buffer, std::size_t size)
{
    const ssize_t count = uninterrupted([&] { return ::read(descriptor(handle_), buffer, size); });
    if (count < 0)
        failOnDevice();
    return static_cast<std::size_t>(count);
}

void File::write(std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t count =
            uninterrupted([&] { return ::write(descriptor(handle_), bytes.data(), bytes.size()); });
        if (count < 0)
            failOnDevice();
        bytes.remove_prefix(static_cast<std::size_t>(count));
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
    const std::string native = openablePath(path);
    if (::unlink(native.c_str()) != 0) {
        // Some systems say EPERM where the name is a directory's.
        if (errno == EPERM && isDirectory(native))
            errno = EISDIR;
        failOnPath(native);
    }
}

bool isHeld(std::u16string_view)
{
    return false;
}

std::optional<FileState> stateOf(std::u16string_view path)
{
    const std::string native = toBytes(path);
    struct stat status;
    if (isNamable(native) && ::stat(native.c_str(), &status) == 0)
        return stateFrom(status);
    if (!isNamable(native) || errno == ENOENT || errno == ENOTDIR)
        return std::nullopt;
    failOnPath(native);
}

std::u16string pathText(const std::filesystem::path& path)
{
    if (text::isUtf8(path.native()))
        return text::fromUtf8(path.native());
    std::u16string text;
    for (const char byte : path.native())
        text += static_cast<char16_t>(byte < 0 ? 0xDC00 | static_cast<unsigned char>(byte) : byte);
    return text;
}

std::filesystem::path nativePath(std::u16string_view text)
{
    return toBytes(text);
}

std::u16string_view separators() noexcept
{
    return u"/";
}

} // namespace vqloan::os
