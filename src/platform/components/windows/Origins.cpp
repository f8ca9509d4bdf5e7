#include "platform/components/Origins.h"

#include "platform/components/windows/ClosedComponents.h"
#include "platform/runtime/RuntimeError.h"

namespace vqloan {
namespace {

template <class Create> Origin originOf(const char16_t* component, Create create)
{
    try {
        return {component, create() != nullptr};
    } catch (const RuntimeError& failure) {
        return {component, true, failure.description};
    }
}

} // namespace

std::vector<Origin> componentOrigins()
{
    const Origin tools = originOf(u"SysTools", closed::createSysTools);
    // SysTools reads settings files of its own library's class only, and the stand-in those of its own.
    const Origin iniFile =
        tools.isRegistered ? originOf(u"IniFile", closed::createIniFile) : Origin{u"IniFile", false};
    return {tools, iniFile, originOf(u"DbTools", closed::createDbTools)};
}

} // namespace vqloan
