// Owner of one reference to an interface, inside the library.
#pragma once

#include <memory>

#include "platform/automation/Automation.h"

namespace automation {

struct ReleaseReference
{
    void operator()(IUnknown* object) const noexcept { object->Release(); }
};
template <class Interface> using Reference = std::unique_ptr<Interface, ReleaseReference>;

} // namespace automation
