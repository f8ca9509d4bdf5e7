#include "platform/program/Signals.h"

#include <windows.h>

namespace vqloan::program {

namespace {

HANDLE toldToEnd = nullptr;

// Runs on a thread of the system's; the process ends when it returns from the closing of a console, so it
// does not before the program has had its time to end.
BOOL WINAPI tell(DWORD event)
{
    SetEvent(toldToEnd);
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT)
        Sleep(2000);
    return TRUE;
}

} // namespace

Signals::Signals()
{
    toldToEnd = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    SetConsoleCtrlHandler(tell, TRUE);
}

Told Signals::wait(std::chrono::milliseconds limit)
{
    return WaitForSingleObject(toldToEnd, static_cast<DWORD>(limit.count())) == WAIT_OBJECT_0 ? Told::end
                                                                                              : Told::nothing;
}

} // namespace vqloan::program
