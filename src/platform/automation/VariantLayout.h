// How much a by-reference VARIANT points to.
#pragma once

#include <cstddef>

#include "platform/automation/Automation.h"

namespace automation {

// The bytes of one value of a type (without VT_BYREF); 0 for a type that is not used by reference here.
inline constexpr std::size_t bytesOf(VARTYPE type) noexcept
{
    switch (type) {
    case VT_I1:
    case VT_UI1:
        return 1;
    case VT_I2:
    case VT_UI2:
    case VT_BOOL:
        return 2;
    case VT_I4:
    case VT_UI4:
    case VT_INT:
    case VT_UINT:
    case VT_R4:
    case VT_ERROR:
        return 4;
    case VT_I8:
    case VT_UI8:
    case VT_R8:
    case VT_CY:
    case VT_DATE:
    case VT_BSTR:
    case VT_DISPATCH:
    case VT_UNKNOWN:
        return 8;
    default:
        return 0;
    }
}

} // namespace automation
