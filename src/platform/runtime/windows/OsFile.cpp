#include "platform/runtime/OsFile.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <utility>

#include "platform/automation/Automation.h"
#include "platform/runtime/Bstr.h"
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
    {ERROR_CANT_RESOLVE_FILENAME, Failure::PathFileAccessError}, // a link where none is followed
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
bool isNamable(std::u16string_view path)
{
    return path.find(u'\0') == path.npos;
}

std::u16string usable(std::u16string_view path)
{
    if (path.empty())
        throw RuntimeError(Failure::PathFileAccessError, ERROR_PATH_NOT_FOUND);
    if (!isNamable(path))
        throw RuntimeError(Failure::BadFileNumber, ERROR_INVALID_NAME);
    return std::u16string(path);
}

// Others may read and write the file meanwhile, not delete it.
constexpr DWORD shared = FILE_SHARE_READ | FILE_SHARE_WRITE;

struct Opening
{
    DWORD access, othersMay;
    DWORD create = OPEN_EXISTING;
    Place place = Place::shared;
};

// Whether an opened file may be used: neither a device nor a link. An existing one is only emptied when that
// is sure.
bool isPrepared(HANDLE file, const Opening& how)
{
    FILE_ATTRIBUTE_TAG_INFO attributes;
    if (GetFileType(file) != FILE_TYPE_DISK) {
        SetLastError(ERROR_CANT_RESOLVE_FILENAME);
        return false;
    }
    if (how.place == Place::shared) {
        if (!GetFileInformationByHandleEx(file, FileAttributeTagInfo, &attributes, sizeof attributes))
            return false;
        if (attributes.FileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) {
            SetLastError(ERROR_CANT_RESOLVE_FILENAME);
            return false;
        }
    }
    return how.create == OPEN_EXISTING || SetEndOfFile(file);
}

// INVALID_HANDLE_VALUE, which is File's noHandle, where it fails.
std::intptr_t open(const std::u16string& native, const Opening& how)
{
    const DWORD link = how.place == Place::shared ? FILE_FLAG_OPEN_REPARSE_POINT : 0;
    const HANDLE opened = CreateFileW(toOle(native.c_str()), how.access, how.othersMay, nullptr, how.create,
                                      FILE_ATTRIBUTE_NORMAL | link, nullptr);
    if (opened == INVALID_HANDLE_VALUE || isPrepared(opened, how))
        return reinterpret_cast<std::intptr_t>(opened);
    const DWORD error = GetLastError();
    CloseHandle(opened);
    SetLastError(error);
    return reinterpret_cast<std::intptr_t>(INVALID_HANDLE_VALUE);
}

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

File::File(std::u16string_view path, Mode mode, Place place)
{
    const std::u16string native = usable(path);
    handle_ = open(native, mode == Mode::Write ? Opening{GENERIC_WRITE, shared, OPEN_ALWAYS, place}
                                               : Opening{GENERIC_READ, shared, OPEN_EXISTING, place});
    if (handle_ == noHandle)
        fail(Failure::PathFileAccessError);
}

std::optional<File> File::tryOpen(std::u16string_view path)
{
    const std::intptr_t opened =
        isNamable(path) ? open(std::u16string(path), {GENERIC_READ, shared}) : noHandle;
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
    if (!DeleteFileW(toOle(usable(path).c_str())))
        fail(Failure::PathFileAccessError);
}

// For the moment of the question, nobody else can open the file for writing. One that this account may never
// delete is not held: then it is the deletion that has to fail.
bool isHeld(std::u16string_view path)
{
    const HANDLE opened = CreateFileW(toOle(usable(path).c_str()), GENERIC_READ | DELETE, FILE_SHARE_READ,
                                      nullptr, OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
    if (opened == INVALID_HANDLE_VALUE)
        return GetLastError() == ERROR_SHARING_VIOLATION;
    CloseHandle(opened);
    return false;
}

std::optional<FileState> stateOf(std::u16string_view path)
{
    if (path.empty() || !isNamable(path))
        return std::nullopt;
    const HANDLE opened =
        CreateFileW(toOle(std::u16string(path).c_str()), FILE_READ_ATTRIBUTES, shared | FILE_SHARE_DELETE,
                    nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr); // which a directory needs
    if (opened == INVALID_HANDLE_VALUE) {
        const DWORD error = GetLastError();
        if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND)
            return std::nullopt;
        fail(Failure::PathFileAccessError);
    }
    const auto state = stateFrom(opened);
    CloseHandle(opened);
    if (!state)
        fail(Failure::DeviceIoError);
    return state;
}

std::u16string pathText(const std::filesystem::path& path)
{
    return path.u16string();
}

std::filesystem::path nativePath(std::u16string_view text)
{
    return text;
}

std::u16string_view separators() noexcept
{
    return u"\\/";
}

} // namespace vqloan::os
