#include "check/Settings.h"

#include <algorithm>

#include "external/SysTools.h"
#include "platform/runtime/OsFile.h"
#include "platform/runtime/Text.h"

namespace vqloan::client {

Settings::Settings(const Site& site, std::string_view contents)
    : file_(createIniFile()), lines_(standins::linesOf(contents))
{
    file_->SetFile(os::pathText(site.settings()));
}

std::optional<std::u16string> Settings::find(const site::Setting& setting) const
{
    // No line of a settings file can hold this.
    const std::u16string absent = u"\n";
    std::u16string value = sysTools().ReadIni(setting.section, setting.key, absent, file_).toText();
    return value == absent ? std::nullopt : std::optional(std::move(value));
}

std::u16string Settings::value(const site::Setting& setting) const
{
    return find(setting).value_or(std::u16string(setting.byDefault));
}

Place Settings::placeOf(const site::Setting& setting) const
{
    const auto line = std::ranges::find_if(lines_, [&](const standins::SettingsLine& each) {
        return each.counts && text::equalsIgnoringCase(each.section, setting.section) &&
               text::equalsIgnoringCase(each.key, setting.key);
    });
    return {std::u16string(site::settingsFile), line == lines_.end() ? 0 : line->number,
            keyName(setting.section, setting.key)};
}

std::u16string keyName(std::u16string_view section, std::u16string_view key)
{
    return std::u16string(u"[").append(section).append(u"] ").append(key);
}

} // namespace vqloan::client
