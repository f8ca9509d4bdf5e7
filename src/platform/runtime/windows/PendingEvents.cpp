#include "platform/runtime/PendingEvents.h"

#include <cstdint>

#include "platform/automation/Automation.h"

namespace vqloan {

namespace {

// A window that answers each message by posting another would make a pass that empties the queue endless. The
// clock's count wraps.
bool isAfter(DWORD time, DWORD other)
{
    return static_cast<std::int32_t>(time - other) > 0;
}

} // namespace

void runPendingEvents()
{
    const DWORD start = GetTickCount();
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        if (message.message == WM_QUIT) {
            // Meant for the client's own loop, which has yet to see it.
            PostQuitMessage(static_cast<int>(message.wParam));
            break;
        }
        TranslateMessage(&message);
        DispatchMessageW(&message);
        if (isAfter(message.time, start))
            break; // the queue is in the order of posting: what was there when the pass began is done
    }
    // A thread without messages would otherwise keep the processor from the very program it waits for.
    Sleep(0);
}

} // namespace vqloan
