#include "platform/runtime/Registration.h"

#include <string>

#include "platform/runtime/ApplicationInfo.h"
#include "platform/runtime/Bstr.h"
#include "platform/runtime/OsFile.h"

namespace vqloan {

HRESULT registerClass(const ClassRegistration& registration) noexcept
try {
    return AutomationRegisterClass(registration.clsid, toOle(std::u16string(registration.progId).c_str()),
                                   os::nativePath(ApplicationInfo::ofThread().file()).c_str());
} catch (...) {
    return E_OUTOFMEMORY;
}

HRESULT unregisterClass(const ClassRegistration& registration) noexcept
try {
    return AutomationUnregisterClass(registration.clsid, toOle(std::u16string(registration.progId).c_str()));
} catch (...) {
    return E_OUTOFMEMORY;
}

} // namespace vqloan
