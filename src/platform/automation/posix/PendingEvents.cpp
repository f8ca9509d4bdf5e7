// What stands here for a thread's message queue.
#include "platform/automation/Automation.h"

namespace {

struct EventLoop
{
    void (*runOnePass)(void* context) = nullptr;
    void* context = nullptr;
};

thread_local EventLoop eventLoop;

} // namespace

void AutomationSetPendingEvents(void (*runOnePass)(void* context), void* context)
{
    eventLoop = {runOnePass, context};
}

BOOL AutomationRunPendingEvents()
{
    // A copy: the pass may set another loop.
    const EventLoop loop = eventLoop;
    if (!loop.runOnePass)
        return FALSE;
    loop.runOnePass(loop.context);
    return TRUE;
}
