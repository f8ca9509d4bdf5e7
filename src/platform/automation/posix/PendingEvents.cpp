// What stands here for a thread's message queue.
#include "platform/automation/posix/ThreadState.h"

using automation::ThreadState;

HRESULT AutomationSetPendingEvents(void (*runOnePass)(void* context), void* context)
{
    ThreadState* const state = runOnePass ? ThreadState::findOrMake() : ThreadState::find();
    if (state) {
        state->runPendingEvents = runOnePass;
        state->pendingEvents = context;
    }
    return state || !runOnePass ? S_OK : E_OUTOFMEMORY;
}

BOOL AutomationRunPendingEvents()
{
    const ThreadState* const state = ThreadState::find();
    if (!state || !state->runPendingEvents)
        return FALSE;
    state->runPendingEvents(state->pendingEvents); // which may set another one
    return TRUE;
}
