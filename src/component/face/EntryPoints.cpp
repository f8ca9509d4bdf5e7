// What the system calls in the loaded file. The linker is told to export these four and nothing else
// (VQLoan.map, VQLoan.def).
#include <new>

#include "component/face/ClassFactory.h"
#include "component/face/DispSvrInterface.h"
#include "platform/runtime/ComPtr.h"
#include "platform/runtime/PerThread.h"
#include "platform/runtime/Registration.h"

using namespace vqloan;

namespace {

constexpr ClassRegistration registration{CLSID_DispSvr, LIBID_VQLoan, progId, u"Server Disponibilità"};

} // namespace

STDAPI DllGetClassObject(REFCLSID clsid, REFIID iid, void** object)
{
    if (!object)
        return E_POINTER;
    *object = nullptr;
    if (!IsEqualCLSID(clsid, CLSID_DispSvr))
        return CLASS_E_CLASSNOTAVAILABLE;
    const auto factory = ComPtr<ClassFactory>::adopt(new (std::nothrow) ClassFactory);
    return factory ? factory->QueryInterface(iid, object) : E_OUTOFMEMORY;
}

STDAPI DllCanUnloadNow()
{
    return ModuleUse::none() && !threads::othersRemain() ? S_OK : S_FALSE;
}

STDAPI DllRegisterServer()
{
    return registerClass(registration);
}

STDAPI DllUnregisterServer()
{
    return unregisterClass(registration);
}
