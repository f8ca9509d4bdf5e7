#include "platform/runtime/PendingEvents.h"

#include <thread>

#include "platform/automation/Automation.h"

namespace vqloan {

void runPendingEvents()
{
    // A thread without an event loop would otherwise keep the processor from the very program it waits for.
    if (!AutomationRunPendingEvents())
        std::this_thread::yield();
}

} // namespace vqloan
