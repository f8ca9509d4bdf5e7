// What tests ask of the system, which offers it in its own way. Its twin for Windows is windows/System.h.
#pragma once

#include <dlfcn.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>

#include "platform/automation/Automation.h"

namespace vqloan::test {

inline constexpr const char* componentName = "VQLoan.so";

// Keeps a file loaded. Throws std::runtime_error when it cannot be.
class LoadedFile
{
public:
    explicit LoadedFile(const std::filesystem::path& file)
        : library_(dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL))
    {
        if (!library_)
            throw std::runtime_error(dlerror());
    }
    ~LoadedFile() { dlclose(library_); }
    LoadedFile(const LoadedFile&) = delete;
    LoadedFile& operator=(const LoadedFile&) = delete;

    void* entry(const char* name) const { return dlsym(library_, name); }

private:
    void* library_;
};

inline std::filesystem::path newScratchDirectory()
{
    std::string name = (std::filesystem::temp_directory_path() / "vqloan-XXXXXX").string();
    if (!mkdtemp(name.data()))
        throw std::runtime_error("no scratch directory");
    return name;
}

inline std::size_t openFiles()
{
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

// Makes `event` a pending event of this thread: it runs once, when the thread lets its events run.
inline void postEvent(std::function<void()> event)
{
    static thread_local std::function<void()> pending;
    pending = std::move(event);
    AutomationSetPendingEvents(
        [](void*) {
            AutomationSetPendingEvents(nullptr, nullptr);
            pending();
        },
        nullptr);
}

} // namespace vqloan::test
