#include "component/DispSvr.h"
#include "config/SettingsFiles.h"
#include "platform/runtime/Text.h"

namespace vqloan {

void DispSvr::Load_Messa()
{
    // When it fails it has recorded that, and the reads below fail or give the defaults.
    static_cast<void>(InitIni());
    TabMessa.assign(1, {});
    const std::int16_t count = settings::readInteger(Ini, site::setting(u"MESSAGGI", u"NUMMSG"));
    for (int number = 1; number <= count; ++number) {
        std::u16string line = text::decimal(number);
        const std::u16string message = settings::readText(Ini, site::messageText(line));
        TabMessa.push_back(line.append(site::tab).append(message));
    }
}

} // namespace vqloan
