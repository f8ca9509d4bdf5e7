#include "Settings.h"

#include "external/SysTools.h"
#include "platform/runtime/Text.h"

namespace vqloan::client {

Settings::Settings(const Site& site) : file_(createIniFile())
{
    file_->SetFile(site.settings().u16string());
}

std::optional<std::u16string> Settings::find(std::string_view section, std::string_view key) const
{
    // No line of a settings file can hold this.
    const std::u16string absent = u"\n";
    std::u16string value =
        sysTools().ReadIni(text::fromUtf8(section), text::fromUtf8(key), absent, file_).toText();
    return value == absent ? std::nullopt : std::optional(std::move(value));
}

std::string Settings::text(std::string_view section, std::string_view key) const
{
    return text::toUtf8(find(section, key).value_or(u""));
}

} // namespace vqloan::client
