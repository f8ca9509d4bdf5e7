// What tests ask of the system, which offers it in its own way. Its twin for POSIX is posix/System.h.
#pragma once

#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>

#include "platform/automation/Automation.h"

namespace vqloan::test {

inline constexpr const char* componentName = "VQLoan.dll";

// Keeps a file loaded. Throws std::runtime_error when it cannot be.
class LoadedFile
{
public:
    explicit LoadedFile(const std::filesystem::path& file) : library_(LoadLibraryW(file.c_str()))
    {
        if (!library_)
            throw std::runtime_error("LoadLibrary: " + std::to_string(GetLastError()));
    }
    ~LoadedFile() { FreeLibrary(library_); }
    LoadedFile(const LoadedFile&) = delete;
    LoadedFile& operator=(const LoadedFile&) = delete;

    void* entry(const char* name) const { return reinterpret_cast<void*>(GetProcAddress(library_, name)); }

private:
    HMODULE library_;
};

inline std::filesystem::path newScratchDirectory()
{
    const std::string name = "vqloan-" + std::to_string(GetCurrentProcessId()) + "-";
    for (int number = 1;; ++number) {
        const auto path = std::filesystem::temp_directory_path() / (name + std::to_string(number));
        if (std::filesystem::create_directory(path))
            return path;
    }
}

// With everything else that a process holds open.
inline std::size_t openFiles()
{
    DWORD count = 0;
    GetProcessHandleCount(GetCurrentProcess(), &count);
    return count;
}

// Makes `event` a pending event of this thread, a message in its queue: it runs once, when the thread lets
// its events run.
inline void postEvent(std::function<void()> event)
{
    static thread_local std::function<void()> pending;
    struct Timer
    {
        static void CALLBACK expired(HWND, UINT, UINT_PTR timer, DWORD)
        {
            KillTimer(nullptr, timer);
            pending();
        }
    };
    pending = std::move(event);
    SetTimer(nullptr, 0, USER_TIMER_MINIMUM, Timer::expired);
}

} // namespace vqloan::test
