#include "component/DispSvr.h"

namespace vqloan {

std::u16string DispSvr::TestCodBib(std::u16string_view CodBib) const
{
    for (std::size_t row = 1; row < TabBib.size(); ++row) {
        const auto& library = TabBib[row];
        if (library[1] == CodBib)
            return library[2] == SkipCode ? u"**" + library[3] : library[3];
    }
    return {};
}

} // namespace vqloan
