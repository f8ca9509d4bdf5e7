#include "config/SettingsFiles.h"

#include "external/SysTools.h"
#include "platform/runtime/ApplicationInfo.h"

namespace vqloan::settings {

std::u16string pathOf(std::u16string_view fileName)
{
    std::u16string directory = ApplicationInfo::ofThread().path();
    return sysTools().DirSlash(directory).append(fileName);
}

std::u16string readText(std::shared_ptr<IniFile>& ini, std::u16string_view section, std::u16string_view key,
                        std::u16string_view byDefault)
{
    return sysTools().ReadIni(section, key, byDefault, ini).toText();
}

std::int32_t readLong(std::shared_ptr<IniFile>& ini, std::u16string_view section, std::u16string_view key,
                      std::int16_t byDefault)
{
    return sysTools().ReadIni(section, key, byDefault, ini).toLong();
}

std::int16_t readInteger(std::shared_ptr<IniFile>& ini, std::u16string_view section, std::u16string_view key,
                         std::int16_t byDefault)
{
    return sysTools().ReadIni(section, key, byDefault, ini).toInteger();
}

} // namespace vqloan::settings
