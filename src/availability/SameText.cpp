#include "component/DispSvr.h"
#include "platform/runtime/Text.h"

namespace vqloan {

bool DispSvr::SameText(std::u16string_view A, std::u16string_view B)
{
    return text::equalsIgnoringCase(text::trimRight(A), text::trimRight(B));
}

} // namespace vqloan
