#include "platform/runtime/TypeInfo.h"

#include <new>

#include "platform/runtime/Bstr.h"
#include "platform/runtime/OsProcess.h"
#include "platform/runtime/windows/EmbeddedTypeLibrary.h"

namespace vqloan {

HRESULT loadEmbeddedTypeLibrary(ComPtr<ITypeLib>& library) noexcept
try {
    return LoadTypeLibEx(toOle(os::loadedFile().c_str()), REGKIND_NONE, library.address());
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

UINT typeInfoCount() noexcept
{
    return 1;
}

HRESULT typeInfoOf(REFIID iid, LCID, ITypeInfo** info) noexcept
{
    *info = nullptr;
    ComPtr<ITypeLib> library;
    const HRESULT loaded = loadEmbeddedTypeLibrary(library);
    return FAILED(loaded) ? loaded : library->GetTypeInfoOfGuid(iid, info);
}

} // namespace vqloan
