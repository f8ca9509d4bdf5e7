// Where the settings files are, and how single settings are read from SvrDisp.ini.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "external/IniFile.h"
#include "site/Settings.h"

namespace vqloan::settings {

// The full path of a settings file. Both files lie in the given directory, or, where that is empty, in the
// component's own.
std::u16string pathOf(std::u16string_view directory, std::u16string_view fileName);

// The setting's value, or its default where the section or the key is absent. Where a number is read,
// RuntimeError 13 for a value that is none (so is nothing after the "="), 6 for one out of range.
std::u16string readText(std::shared_ptr<IniFile>& ini, const site::Setting& setting);
std::int32_t readLong(std::shared_ptr<IniFile>& ini, const site::Setting& setting);
std::int16_t readInteger(std::shared_ptr<IniFile>& ini, const site::Setting& setting);

} // namespace vqloan::settings
