// The description of an interface in the type library embedded in the component's own file.
#pragma once

#include "platform/automation/Automation.h"

namespace vqloan {

// How many descriptions an object can give: 1 where the system has type libraries, else 0.
UINT typeInfoCount() noexcept;
// Gives the description of interface `iid`; the caller releases it. Null and E_NOTIMPL where the system has
// no type libraries. Never throws.
HRESULT typeInfoOf(REFIID iid, LCID locale, ITypeInfo** info) noexcept;

} // namespace vqloan
