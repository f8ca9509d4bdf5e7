#include "config/SettingsFiles.h"

#include "external/SysTools.h"
#include "platform/runtime/ApplicationInfo.h"

namespace vqloan::settings {

std::u16string pathOf(std::u16string_view directory, std::u16string_view fileName)
{
    std::u16string place(directory.empty() ? ApplicationInfo::ofThread().path() : directory);
    return sysTools().DirSlash(place).append(fileName);
}

std::u16string readText(std::shared_ptr<IniFile>& ini, const site::Setting& setting)
{
    return sysTools().ReadIni(setting.section, setting.key, setting.byDefault, ini).toText();
}

namespace {

Variant readNumber(std::shared_ptr<IniFile>& ini, const site::Setting& setting)
{
    return sysTools().ReadIni(setting.section, setting.key, Variant(setting.byDefault).toInteger(), ini);
}

} // namespace

std::int32_t readLong(std::shared_ptr<IniFile>& ini, const site::Setting& setting)
{
    return readNumber(ini, setting).toLong();
}

std::int16_t readInteger(std::shared_ptr<IniFile>& ini, const site::Setting& setting)
{
    return readNumber(ini, setting).toInteger();
}

} // namespace vqloan::settings
