#include "component/DispSvr.h"

namespace vqloan {

Int16 DispSvr::FindNth(std::u16string_view Text, std::u16string_view Sep, Int16 N)
{
    Int16 start = 1, count = 0, position = 0;
    if (N < 1)
        return 0;
    while (start <= std::ssize(Text)) {
        ++count;
        const auto found = Text.find(Sep, static_cast<std::size_t>(start - 1));
        position = found == std::u16string_view::npos ? Int16(0) : Int16(found + 1);
        if (position == 0 || count == N)
            break;
        start = Int16(position + std::ssize(Sep));
    }
    return count == N ? position : Int16(0);
}

} // namespace vqloan
