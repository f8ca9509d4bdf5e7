#include "component/DispSvr.h"
#include "external/SysTools.h"

namespace vqloan {

std::int32_t DispSvr::ErrNumber()
{
    Variant number(std::int32_t{0});
    sysTools().GetError(number.address(), nullptr, nullptr, nullptr, nullptr, nullptr);
    return number.toLong();
}

} // namespace vqloan
