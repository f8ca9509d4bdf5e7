// Registration of the component's class with the system, for its entry points.
#pragma once

#include <string_view>

#include "platform/automation/Automation.h"

namespace vqloan {

// What the system is told of a creatable class that runs in the caller's process, in the apartment threading
// model.
struct ClassRegistration
{
    const CLSID& clsid;
    const GUID& typeLibrary;
    std::u16string_view progId;
    std::u16string_view description;
};

// Register the file that holds this code, or take the registration back. On Windows the type library embedded
// in the file, and with it the interface, is registered too. The results are those of the entry points of the
// same purpose: S_OK, or the failure of the step that could not be done. Never throw.
HRESULT registerClass(const ClassRegistration& registration) noexcept;
HRESULT unregisterClass(const ClassRegistration& registration) noexcept;

} // namespace vqloan
