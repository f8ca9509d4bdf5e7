#include <new>

#include "component/DispSvr.h"
#include "component/RecordError.h"
#include "config/SettingsFiles.h"

namespace vqloan {

bool DispSvr::InitIni()
{
    try {
        if (!Ini) {
            // Stored before it is bound. When binding fails, the object stays unbound and later calls do not
            // try again.
            Ini = createIniFile();
            Ini->SetFile(settings::pathOf(SettingsDir, site::settingsFile));
        }
        return false;
    } catch (const std::bad_alloc&) {
        Ini.reset();
        recordFailure(longSource, u".InitIni, ");
        throw; // settings read from an unbound object would all be defaults
    } catch (...) {
        recordFailure(longSource, u".InitIni, ");
        return true;
    }
}

} // namespace vqloan
