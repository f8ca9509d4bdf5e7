// What tests ask of the system, which offers it in its own way. Its twin for Windows is windows/System.h.
#pragma once

#include <filesystem>
#include <functional>

#include "platform/automation/Automation.h"

namespace vqloan::test {

inline constexpr const char* componentName = "VQLoan.so";

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
