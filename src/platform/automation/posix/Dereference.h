// By-reference VARIANTs.
#pragma once

#include "platform/automation/Automation.h"

namespace automation {

// The value that `source` holds or refers to, without a copy of its text or a reference of its own: valid as
// long as `source` is, and never to be cleared. E_INVALIDARG when it refers to nothing, or to a VARIANT that
// again refers to a VARIANT; DISP_E_BADVARTYPE for a type that is not supported.
HRESULT dereference(const VARIANT& source, VARIANT& value) noexcept;

} // namespace automation
