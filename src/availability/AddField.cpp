#include "component/DispSvr.h"

namespace vqloan {

void DispSvr::AddField(std::u16string& List, std::u16string_view Item, std::u16string_view Sep,
                       bool KeepEmpty)
{
    if (Item.empty() && !KeepEmpty)
        return;
    if (!List.empty())
        List.append(Sep);
    List.append(Item);
}

} // namespace vqloan
