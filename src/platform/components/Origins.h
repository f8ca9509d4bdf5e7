// Where the helper components of this machine come from, for who asks why a site behaves as it does.
#pragma once

#include <string>
#include <vector>

namespace vqloan {

struct Origin
{
    std::u16string component;
    bool isRegistered;           // otherwise the built-in stand-in serves
    std::u16string failure = {}; // why the registered one cannot be used
};

// Each of them; nothing on systems that have the stand-ins alone.
std::vector<Origin> componentOrigins();

} // namespace vqloan
