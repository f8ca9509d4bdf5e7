#include "platform/program/Program.h"

#include <windows.h>

#include <io.h>

#include <atomic>
#include <cstdlib>
#include <random>
#include <stdexcept>
#include <string>
#include <system_error>

#include "platform/program/Paths.h"

namespace vqloan::program {

namespace {

std::atomic<const std::vector<std::filesystem::path>*> toRemove = nullptr;

// On a thread of the system's own, which ends the program when this returns.
BOOL WINAPI removeAll(DWORD)
{
    for (const std::filesystem::path& file : *toRemove.load())
        DeleteFileW(file.c_str());
    return FALSE;
}

} // namespace

const char* const libraryExtension = ".dll";

std::filesystem::path file()
{
    std::wstring name(32768, L'\0'); // the longest path there is
    name.resize(GetModuleFileNameW(nullptr, name.data(), static_cast<DWORD>(name.size())));
    return name;
}

void removeWhenEnded(const std::vector<std::filesystem::path>& files)
{
    if (!toRemove.exchange(new std::vector(files)))
        SetConsoleCtrlHandler(removeAll, TRUE);
}

void endNow(int status) noexcept
{
    std::_Exit(status);
}

std::filesystem::path makePrivateDirectory(const std::filesystem::path& parent, const std::string& prefix)
{
    std::random_device random;
    for (;;) {
        const auto made = parent / (prefix + std::to_string(random()) + std::to_string(random()));
        if (CreateDirectoryW(made.c_str(), nullptr))
            return made;
        if (const DWORD error = GetLastError(); error != ERROR_ALREADY_EXISTS)
            throw std::system_error(static_cast<int>(error), std::system_category(), utf8Of(parent));
    }
}

// The C++ library's own tells every failure but one as an I/O error.
std::error_code rename(const std::filesystem::path& from, const std::filesystem::path& to) noexcept
{
    if (MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING))
        return {};
    return {static_cast<int>(GetLastError()), std::system_category()};
}

bool isInUse(std::error_code error) noexcept
{
    return error == std::error_code(ERROR_SHARING_VIOLATION, std::system_category()) ||
           error == std::error_code(ERROR_LOCK_VIOLATION, std::system_category());
}

int terminalColumns(Stream stream) noexcept
{
    if (!_isatty(static_cast<int>(stream)))
        return 0;
    CONSOLE_SCREEN_BUFFER_INFO info{};
    const HANDLE console = GetStdHandle(stream == Stream::output ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE);
    if (!GetConsoleScreenBufferInfo(console, &info))
        return 80;
    return info.srWindow.Right - info.srWindow.Left + 1;
}

Library::Library(const std::filesystem::path& file) : file_(file), handle_(LoadLibraryW(file.c_str()))
{
    if (!handle_)
        throw std::runtime_error(utf8Of(file) + ": " +
                                 std::system_category().message(static_cast<int>(GetLastError())));
}

Library::~Library()
{
    FreeLibrary(static_cast<HMODULE>(handle_));
}

void* Library::address(const char* name) const
{
    if (const auto found = GetProcAddress(static_cast<HMODULE>(handle_), name))
        return reinterpret_cast<void*>(found);
    throw std::runtime_error(utf8Of(file_) + " has no entry point " + name);
}

} // namespace vqloan::program
