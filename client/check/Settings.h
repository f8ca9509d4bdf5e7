// SvrDisp.ini of a site: its values as the component reads them, and where they stand.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Site.h"
#include "check/Report.h"
#include "external/IniFile.h"
#include "platform/components/Settings.h"
#include "site/Settings.h"

namespace vqloan::client {

// Throws RuntimeError where the file, once it has been read, cannot be read any more.
class Settings
{
public:
    Settings(const Site& site, std::string_view contents);

    // Nothing where the section or the key is absent.
    std::optional<std::u16string> find(const site::Setting& setting) const;
    // The same, or the default.
    std::u16string value(const site::Setting& setting) const;
    Place placeOf(const site::Setting& setting) const;

    const std::vector<standins::SettingsLine>& lines() const noexcept { return lines_; }

private:
    mutable std::shared_ptr<IniFile> file_;
    std::vector<standins::SettingsLine> lines_;
};

// "[SECTION] KEY"
std::u16string keyName(std::u16string_view section, std::u16string_view key);

} // namespace vqloan::client
