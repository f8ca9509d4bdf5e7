#include "platform/runtime/PendingEvents.h"

#include "platform/automation/Automation.h"

namespace vqloan {

void runPendingEvents()
{
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        if (message.message == WM_QUIT) {
            // Meant for the client's own loop, which has yet to see it.
            PostQuitMessage(static_cast<int>(message.wParam));
            break;
        }
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    // A thread without messages would otherwise keep the processor from the very program it waits for.
    Sleep(0);
}

} // namespace vqloan
