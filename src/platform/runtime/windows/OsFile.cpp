#include "platform/runtime/OsFile.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <utility>

#include "platform/automation/Automation.h"
#include "platform/automation/Bstr.h"
#include "platform/runtime/RuntimeError.h"

namespace vqloan::os {
namespace {

HANDLE system(std::intptr_t handle)
{
    return reinterpret_cast<HANDLE>(handle);
}

// What the language runtime makes of the system's errors, whether it opens, reads, writes or deletes.
struct KnownError
{
    DWORD error;
    Failure failure;
};
constexpr KnownError knownErrors[] = {
    {ERROR_FILE_NOT_FOUND, Failure::FileNotFound},
    {ERROR_PATH_NOT_FOUND, Failure::PathNotFound},
    {ERROR_INVALID_DRIVE, Failure::PathNotFound},
    {ERROR_DIRECTORY, Failure::PathNotFound},
    {ERROR_INVALID_NAME, Failure::BadFileNumber},
    {ERROR_FILENAME_EXCED_RANGE, Failure::BadFileNumber},
    {ERROR_BAD_NETPATH, Failure::BadFileNumber},
    {ERROR_BAD_NET_NAME, Failure::BadFileNumber},
    // Denied is a file that is read-only or a directory; a file that another program keeps to itself is
    // shared badly.
    {ERROR_ACCESS_DENIED, Failure::PathFileAccessError},
    {ERROR_SHARING_VIOLATION, Failure::PermissionDenied},
    {ERROR_LOCK_VIOLATION, Failure::PermissionDenied},
    {ERROR_WRITE_PROTECT, Failure::PermissionDenied},
    {ERROR_DISK_FULL, Failure::DiskFull},
    {ERROR_HANDLE_DISK_FULL, Failure::DiskFull},
    {ERROR_TOO_MANY_OPEN_FILES, Failure::TooManyFiles},
    {ERROR_NOT_ENOUGH_MEMORY, Failure::OutOfMemory},
    {ERROR_OUTOFMEMORY, Failure::OutOfMemory},
};

[[noreturn]] void fail(Failure otherwise)
{
    const DWORD error = GetLastError();
    const auto* const known = std::ranges::find(knownErrors, error, &KnownError::error);
    throw RuntimeError(known != std::end(knownErrors) ? known->failure : otherwise,
                       static_cast<std::int32_t>(error));
}

// The system would stop reading a path at an embedded 0 and open another file than the one named.
std::u16string nativePath(std::u16string_view path)
{
    if (path.empty())
        throw RuntimeError(Failure::PathFileAccessError, ERROR_PATH_NOT_FOUND);
    if (path.find(u'\0') != path.npos)
        throw RuntimeError(Failure::BadFileNumber, ERROR_INVALID_NAME);
    return std::u16string(path);
}

// Others may read and write the file meanwhile, not delete it.
constexpr DWORD shared = FILE_SHARE_READ | FILE_SHARE_WRITE;

// INVALID_HANDLE_VALUE, which is File's noHandle, where it fails.
std::intptr_t open(const std::u16string& native, File::Mode mode)
{
    const bool writes = mode == File::Mode::Write;
    return reinterpret_cast<std::intptr_t>(
        CreateFileW(toOle(native.c_str()), writes ? GENERIC_WRITE : GENERIC_READ, shared, nullptr,
                    writes ? CREATE_ALWAYS : OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
}

// A file opened for a moment's look.
class Glimpse
{
public:
    Glimpse(std::u16string_view path, DWORD access, DWORD othersMay)
        : handle_(CreateFileW(toOle(std::u16string(path).c_str()), access, othersMay, nullptr, OPEN_EXISTING,
                              FILE_ATTRIBUTE_NORMAL, nullptr))
    {}
    ~Glimpse()
    {
        if (*this)
            CloseHandle(handle_);
    }
    Glimpse(const Glimpse&) = delete;
    Glimpse& operator=(const Glimpse&) = delete;

    explicit operator bool() const { return handle_ != INVALID_HANDLE_VALUE; }
    HANDLE get() const { return handle_; }

private:
    HANDLE handle_;
};

std::int64_t joined(DWORD high, DWORD low)
{
    return static_cast<std::int64_t>((static_cast<std::uint64_t>(high) << 32) | low);
}

// From units of 100 ns since 1601.
std::int64_t nanosecondsSince1970(std::int64_t time)
{
    return (time - 116'444'736'000'000'000) * 100;
}

std::optional<FileState> stateFrom(HANDLE file)
{
    BY_HANDLE_FILE_INFORMATION known;
    FILE_BASIC_INFO times;
    if (!GetFileInformationByHandle(file, &known) ||
        !GetFileInformationByHandleEx(file, FileBasicInfo, &times, sizeof times))
        return std::nullopt;
    return FileState{.device = known.dwVolumeSerialNumber,
                     .file = static_cast<std::uint64_t>(joined(known.nFileIndexHigh, known.nFileIndexLow)),
                     .size = joined(known.nFileSizeHigh, known.nFileSizeLow),
                     .modified = nanosecondsSince1970(times.LastWriteTime.QuadPart),
                     .changed = nanosecondsSince1970(times.ChangeTime.QuadPart)};
}

DWORD atMost(std::size_t size)
{
    return static_cast<DWORD>(std::min<std::size_t>(size, std::numeric_limits<std::int32_t>::max()));
}

} // namespace

File::File(std::u16string_view path, Mode mode)
{
    const std::u16string native = nativePath(path);
    handle_ = open(native, mode);
    if (handle_ == noHandle)
        fail(Failure::PathFileAccessError);
}

std::optional<File> File::tryOpen(std::u16string_view path)
{
    const bool isNamable = path.find(u'\0') == path.npos;
    const std::intptr_t opened = isNamable ? open(std::u16string(path), Mode::Read) : noHandle;
    return opened == noHandle ? std::nullopt : std::optional(File(opened));
}

File::~File()
{
    if (handle_ != noHandle)
        CloseHandle(system(handle_));
}

std::size_t File::read(char* buffer, std::size_t size)
{
    DWORD count = 0;
    if (!ReadFile(system(handle_), buffer, atMost(size), &count, nullptr))
        fail(Failure::DeviceIoError);
    return count;
}

void File::write(std::string_view bytes)
{
    while (!bytes.empty()) {
        DWORD count = 0;
        if (!WriteFile(system(handle_), bytes.data(), atMost(bytes.size()), &count, nullptr))
            fail(Failure::DeviceIoError);
        bytes.remove_prefix(count);
    }
}

void File::close()
{
    if (!CloseHandle(system(std::exchange(handle_, noHandle))))
        fail(Failure::DeviceIoError);
}

FileState File::state() const
{
    const auto state = stateFrom(system(handle_));
    if (!state)
        fail(Failure::DeviceIoError);
    return *state;
}

void removeFile(std::u16string_view path)
{
    if (!DeleteFileW(toOle(nativePath(path).c_str())))
        fail(Failure::PathFileAccessError);
}

std::optional<FileState> stateOf(std::u16string_view path)
{
    const Glimpse file(path, FILE_READ_ATTRIBUTES, shared | FILE_SHARE_DELETE);
    return file ? stateFrom(file.get()) : std::nullopt;
}

bool isReadableFile(std::u16string_view path)
{
    // A file that somebody still writes or renames is not there to be read yet: opening or deleting it would
    // fail. (A directory cannot be opened this way.)
    return static_cast<bool>(Glimpse(path, GENERIC_READ, FILE_SHARE_READ));
}

std::u16string_view separators() noexcept
{
    return u"\\/";
}

} // namespace vqloan::os
