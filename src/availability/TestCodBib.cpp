#include "component/DispSvr.h"

namespace vqloan {

std::u16string DispSvr::TestCodBib(std::u16string_view CodBib) const
{
    for (const site::Library& library : TabBib)
        if (library.code == CodBib)
            return (library.group == SkipCode ? std::u16string(site::skippedMark) : u"") + library.name;
    return {};
}

} // namespace vqloan
