#include "platform/program/FileLock.h"

#include "platform/program/Paths.h"

#include <windows.h>

#include <system_error>

namespace vqloan::program {

std::optional<FileLock> FileLock::tryTake(const std::filesystem::path& file)
{
    // Others may read who holds it; the file goes with its handle.
    const HANDLE opened =
        CreateFileW(file.c_str(), GENERIC_READ | GENERIC_WRITE | DELETE, FILE_SHARE_READ, nullptr,
                    CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    if (opened == INVALID_HANDLE_VALUE) {
        const DWORD error = GetLastError();
        if (error == ERROR_SHARING_VIOLATION || error == ERROR_ACCESS_DENIED)
            return std::nullopt;
        throw std::system_error(static_cast<int>(error), std::system_category(), utf8Of(file));
    }
    const std::string who = "process " + std::to_string(GetCurrentProcessId()) + "\r\n";
    DWORD written = 0;
    WriteFile(opened, who.data(), static_cast<DWORD>(who.size()), &written, nullptr);
    return FileLock(file, reinterpret_cast<std::intptr_t>(opened));
}

// The file goes with whoever holds it, but stays when the power goes.
bool FileLock::isHeld(const std::filesystem::path& file) noexcept
{
    const HANDLE opened = CreateFileW(file.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                      FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
    if (opened == INVALID_HANDLE_VALUE)
        return GetLastError() == ERROR_SHARING_VIOLATION;
    CloseHandle(opened);
    return false;
}

std::string FileLock::holder(const std::filesystem::path& file)
{
    const HANDLE opened =
        CreateFileW(file.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
    if (opened == INVALID_HANDLE_VALUE)
        return {};
    char text[64];
    DWORD size = 0;
    if (!ReadFile(opened, text, sizeof text, &size, nullptr))
        size = 0;
    CloseHandle(opened);
    const std::string all(text, size);
    return all.substr(0, all.find('\r'));
}

FileLock::~FileLock()
{
    if (handle_ != none)
        CloseHandle(reinterpret_cast<HANDLE>(handle_));
}

} // namespace vqloan::program
