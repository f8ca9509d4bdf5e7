// The type library that the component's own file holds as a resource.
#pragma once

#include "platform/automation/Automation.h"
#include "platform/runtime/ComPtr.h"

namespace vqloan {

// S_OK, or why it cannot be loaded: code that is part of a program, as in tests, has none.
HRESULT loadEmbeddedTypeLibrary(ComPtr<ITypeLib>& library) noexcept;

} // namespace vqloan
