#include "platform/runtime/Bstr.h"

#include <limits>

#include "platform/runtime/RuntimeError.h"

namespace vqloan {

Bstr::Bstr(std::u16string_view text)
{
    // The length parameter has 32 bits: a longer text must not be cut silently.
    if (text.size() <= std::numeric_limits<UINT>::max())
        text_ = SysAllocStringLen(toOle(text.data()), static_cast<UINT>(text.size()));
    if (!text_)
        throw RuntimeError(Failure::OutOfMemory);
}

} // namespace vqloan
