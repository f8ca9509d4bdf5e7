#include "component/DispSvr.h"

namespace vqloan {

std::u16string_view DispSvr::Find_Messa(std::u16string_view Code, const CodeTable& Table)
{
    const Int16 last = std::ssize(Table) - 1; // -1 for a table that no load has filled
    for (int line = 1; line <= last; ++line) {
        const std::u16string_view entry = Table[static_cast<std::size_t>(line)];
        if (GetField(entry, site::tab, 1) == Code)
            return GetField(entry, site::tab, 2);
    }
    return {};
}

} // namespace vqloan
