// The closed components where they are registered on this machine, else the stand-ins.
#include "external/DbTools.h"
#include "external/IniFile.h"
#include "external/SysTools.h"
#include "platform/components/DbTools.h"
#include "platform/components/IniFile.h"
#include "platform/components/SysTools.h"
#include "platform/components/windows/ClosedComponents.h"
#include "platform/runtime/PerThread.h"

namespace vqloan {
namespace {

// A closed component stays until the process ends: when a thread's own objects are destroyed, the thread may
// have left COM already, and the component's code may be gone.
template <class Contract, class StandIn> class OfThread
{
public:
    // Decided at the first call; a failed attempt decides nothing.
    Contract& get(std::unique_ptr<Contract> (*createClosed)())
    {
        if (!inUse_) {
            closed_ = createClosed().release();
            inUse_ = closed_ ? closed_ : &standIn_;
        }
        return *inUse_;
    }
    bool isClosed() const noexcept { return closed_; }

private:
    StandIn standIn_;
    Contract* closed_ = nullptr;
    Contract* inUse_ = nullptr;
};

using SysToolsOfThread = OfThread<SysTools, standins::SysTools>;
using DbToolsOfThread = OfThread<DbTools, standins::DbTools>;

} // namespace

SysTools& sysTools()
{
    return perThread<SysToolsOfThread>().get(closed::createSysTools);
}

DbTools& dbTools()
{
    return perThread<DbToolsOfThread>().get(closed::createDbTools);
}

std::shared_ptr<IniFile> createIniFile()
{
    // SysTools reads settings files of its own library's class only.
    sysTools();
    if (perThread<SysToolsOfThread>().isClosed())
        return closed::createIniFile();
    return std::make_shared<standins::IniFile>();
}

} // namespace vqloan
