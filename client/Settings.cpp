#include "Settings.h"

#include <stdexcept>

#include "external/SysTools.h"
#include "platform/runtime/OsFile.h"
#include "platform/runtime/RuntimeError.h"
#include "platform/runtime/Text.h"

namespace vqloan::client {

Settings::Settings(const Site& site) : file_(createIniFile())
{
    file_->SetFile(os::pathText(site.settings()));
}

std::optional<std::u16string> Settings::find(const site::Setting& setting) const
{
    // No line of a settings file can hold this.
    const std::u16string absent = u"\n";
    try {
        std::u16string value = sysTools().ReadIni(setting.section, setting.key, absent, file_).toText();
        return value == absent ? std::nullopt : std::optional(std::move(value));
    } catch (const RuntimeError& error) {
        throw std::runtime_error("SvrDisp.ini cannot be read: " + text::toUtf8(error.description));
    }
}

std::string Settings::text(const site::Setting& setting) const
{
    return text::toUtf8(find(setting).value_or(std::u16string(setting.byDefault)));
}

} // namespace vqloan::client
