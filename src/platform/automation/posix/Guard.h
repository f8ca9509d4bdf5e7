// Keeps C++ exceptions inside the library: its functions are called from any language.
#pragma once

#include <new>
#include <utility>

#include "platform/automation/Automation.h"

namespace automation {

// Runs `body`, which gives an HRESULT; memory that runs out is E_OUTOFMEMORY, any other exception
// E_UNEXPECTED.
template <class Body> HRESULT guarded(Body&& body) noexcept
{
    try {
        return std::forward<Body>(body)();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (...) {
        return E_UNEXPECTED;
    }
}

} // namespace automation
