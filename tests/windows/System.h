// What tests ask of the system, which offers it in its own way. Its twin for POSIX is posix/System.h.
#pragma once

#include <functional>
#include <thread>
#include <utility>

#include "platform/automation/Automation.h"

namespace vqloan::test {

inline constexpr const char* componentName = "VQLoan.dll";

// With everything else that a process holds open, but for registry keys: wine leaves two open whenever it
// looks for a class that is not registered. Counted one by one, as wine's own count is always 0.
inline std::size_t openFiles()
{
    std::size_t count = 0;
    for (std::uintptr_t handle = 4; handle < 0x4000; handle += 4) {
        DWORD flags;
        if (GetHandleInformation(reinterpret_cast<HANDLE>(handle), &flags))
            count += RegQueryInfoKeyW(reinterpret_cast<HKEY>(handle), {}, {}, {}, {}, {}, {}, {}, {}, {}, {},
                                      {}) != ERROR_SUCCESS;
    }
    return count;
}

// Takes turns on a thread of its own, until it is destroyed or a turn throws.
class Counterpart
{
public:
    explicit Counterpart(std::function<void()> turn)
        : thread_([turn = std::move(turn)](const std::stop_token& stop) {
              try {
                  while (!stop.stop_requested())
                      turn();
              } catch (...) { // the tests find that nobody answers
              }
          })
    {}

private:
    std::jthread thread_;
};

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
            std::exchange(pending, nullptr)();
        }
    };
    pending = std::move(event);
    SetTimer(nullptr, 0, USER_TIMER_MINIMUM, Timer::expired);
}

} // namespace vqloan::test
