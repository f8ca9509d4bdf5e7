#include "platform/runtime/TypeInfo.h"

namespace vqloan {

UINT typeInfoCount() noexcept
{
    return 0;
}

HRESULT typeInfoOf(REFIID, LCID, ITypeInfo** info) noexcept
{
    *info = nullptr;
    return E_NOTIMPL;
}

} // namespace vqloan
