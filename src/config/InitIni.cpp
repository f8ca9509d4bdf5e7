#include "component/DispSvr.h"
#include "component/RecordError.h"
#include "config/SettingsFiles.h"

namespace vqloan {

bool DispSvr::InitIni() noexcept
{
    try {
        if (!Ini) {
            // Stored before it is bound. When binding fails, the object stays unbound and later calls do not
            // try again.
            Ini = createIniFile();
            Ini->SetFile(settings::pathOf(site::settingsFile));
        }
        return false;
    } catch (...) {
        recordFailure(longSource, u".InitIni, ");
        return true;
    }
}

} // namespace vqloan
