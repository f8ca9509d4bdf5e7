// How a failure leaves the component: as the call's result, with the thread's error information object.
#pragma once

#include "platform/automation/Automation.h"
#include "platform/runtime/RuntimeError.h"

namespace vqloan {

// Gives the caller's thread an error information object for a failure of interface `iid`, and returns the
// call's result: 0x800A0000 + number for the runtime's numbers, others as they are. Without memory for the
// object the result stands alone.
HRESULT reportFailure(const RuntimeError& failure, REFIID iid) noexcept;

// The same details for a caller of IDispatch::Invoke, taken off the thread: the result of a failed member and
// its error information go into `exception`, unless it is null. Always DISP_E_EXCEPTION.
HRESULT reportException(HRESULT failure, EXCEPINFO* exception) noexcept;

} // namespace vqloan
