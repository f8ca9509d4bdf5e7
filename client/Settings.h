// SvrDisp.ini of a site, read as the component reads it.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Site.h"
#include "external/IniFile.h"
#include "site/Settings.h"

namespace vqloan::client {

class Settings
{
public:
    explicit Settings(const Site& site);

    // As written; nothing where the section or the key is absent.
    std::optional<std::u16string> find(const site::Setting& setting) const;
    // The same in UTF-8, or the default.
    std::string text(const site::Setting& setting) const;

private:
    mutable std::shared_ptr<IniFile> file_;
};

} // namespace vqloan::client
