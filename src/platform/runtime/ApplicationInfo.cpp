#include "platform/runtime/ApplicationInfo.h"

#include "platform/runtime/OsFile.h"
#include "platform/runtime/OsProcess.h"
#include "platform/runtime/PerThread.h"

namespace vqloan {

ApplicationInfo::ApplicationInfo() : file_(os::loadedFile())
{
    const auto nameAt = file_.find_last_of(os::separators()) + 1; // 0 where there is none
    path_ = file_.substr(0, nameAt > 1 ? nameAt - 1 : nameAt);    // the root's own separator stays
    const auto name = file_.substr(nameAt);
    moduleName_ = name.substr(0, name.rfind(u'.'));
}

const ApplicationInfo& ApplicationInfo::ofThread()
{
    return perThread<ApplicationInfo>();
}

} // namespace vqloan
