// The closed components are not to be had on this system: the stand-ins take their place.
#include "external/DbTools.h"
#include "external/IniFile.h"
#include "external/SysTools.h"
#include "platform/components/DbTools.h"
#include "platform/components/IniFile.h"
#include "platform/components/SysTools.h"
#include "platform/runtime/PerThread.h"

namespace vqloan {

SysTools& sysTools()
{
    return perThread<standins::SysTools>();
}

DbTools& dbTools()
{
    return perThread<standins::DbTools>();
}

std::shared_ptr<IniFile> createIniFile()
{
    return std::make_shared<standins::IniFile>();
}

} // namespace vqloan
