// What tests ask of the system, which offers it in its own way. Its twin for Windows is windows/System.h.
#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <functional>
#include <utility>

#include "platform/automation/Automation.h"

namespace vqloan::test {

inline constexpr const char* componentName = "VQLoan.so";

inline std::size_t openFiles()
{
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

// Takes turns in a process of its own, until it is destroyed, the tests end in whatever way, or a turn
// throws.
class Counterpart
{
public:
    explicit Counterpart(const std::function<void()>& turn) : parent_(getpid()), process_(fork())
    {
        if (process_ == 0)
            serve(turn);
    }
    ~Counterpart()
    {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
    }
    Counterpart(const Counterpart&) = delete;
    Counterpart& operator=(const Counterpart&) = delete;

private:
    [[noreturn]] void serve(const std::function<void()>& turn) const
    {
        try {
            while (getppid() == parent_)
                turn();
        } catch (...) { // must not reach the tests, which would go on in this process too
        }
        _exit(0);
    }

    pid_t parent_, process_;
};

// Makes `event` a pending event of this thread: it runs once, when the thread lets its events run.
inline void postEvent(std::function<void()> event)
{
    static thread_local std::function<void()> pending;
    pending = std::move(event);
    AutomationSetPendingEvents(
        [](void*) {
            AutomationSetPendingEvents(nullptr, nullptr);
            std::exchange(pending, nullptr)();
        },
        nullptr);
}

} // namespace vqloan::test
