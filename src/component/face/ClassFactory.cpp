#include "component/face/ClassFactory.h"

#include <new>
#include <type_traits>

#include "component/face/DispSvrFace.h"
#include "platform/runtime/ComPtr.h"
#include "platform/runtime/RuntimeError.h"

namespace vqloan {

HRESULT ClassFactory::QueryInterface(REFIID iid, void** object)
{
    if (!object)
        return E_POINTER;
    *object = nullptr;
    if (!IsEqualIID(iid, IID_IUnknown) && !IsEqualIID(iid, IID_IClassFactory))
        return E_NOINTERFACE;
    *object = static_cast<IClassFactory*>(this);
    AddRef();
    return S_OK;
}

ULONG ClassFactory::AddRef()
{
    return ++references_;
}

ULONG ClassFactory::Release()
{
    const ULONG left = --references_;
    if (left == 0)
        delete this;
    return left;
}

HRESULT ClassFactory::CreateInstance(IUnknown* outer, REFIID iid, void** object)
{
    if (!object)
        return E_POINTER;
    *object = nullptr;
    if (outer)
        return CLASS_E_NOAGGREGATION;
    static_assert(std::is_nothrow_default_constructible_v<DispSvr>, "no exception may leave this function");
    const auto created = ComPtr<DispSvrFace>::adopt(new (std::nothrow) DispSvrFace);
    if (!created)
        return E_OUTOFMEMORY;
    try {
        pending::prepare();
    } catch (...) {
        return E_OUTOFMEMORY;
    }
    return created->QueryInterface(iid, object);
}

HRESULT ClassFactory::LockServer(BOOL lock)
{
    if (!lock)
        return ModuleUse::unlock() ? S_OK : E_UNEXPECTED;
    ModuleUse::lock();
    return S_OK;
}

} // namespace vqloan
