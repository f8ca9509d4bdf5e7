// SvrDisp.ini of a site, read as the component reads it.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Site.h"
#include "external/IniFile.h"

namespace vqloan::client {

class Settings
{
public:
    explicit Settings(const Site& site);

    // As written; nothing where the section or the key is absent.
    std::optional<std::u16string> find(std::string_view section, std::string_view key) const;
    // The same in UTF-8; empty where it is absent.
    std::string text(std::string_view section, std::string_view key) const;

private:
    mutable std::shared_ptr<IniFile> file_;
};

} // namespace vqloan::client
