#include "component/DispSvr.h"

namespace vqloan {

std::u16string_view DispSvr::Find_Messa(std::u16string_view Code, const CodeTable& Table)
{
    constexpr std::u16string_view tab = u"\t";
    if (Table.empty())
        throw RuntimeError(Failure::SubscriptOutOfRange); // no load has given the table its bounds
    const Int16 last = Table.size() - 1;
    for (int line = 1; line <= last; ++line) {
        const std::u16string_view entry = Table[static_cast<std::size_t>(line)];
        if (GetField(entry, tab, 1) == Code)
            return GetField(entry, tab, 2);
    }
    return {};
}

} // namespace vqloan
