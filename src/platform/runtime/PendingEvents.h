// The thread's pending events.
#pragma once

namespace vqloan {

// Lets them run once; returns when those have that were pending when it began. Calls of the component may
// enter meanwhile on this thread.
void runPendingEvents();

} // namespace vqloan
