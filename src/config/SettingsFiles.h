// Where the settings files are, and how single settings are read from SvrDisp.ini.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "external/IniFile.h"

namespace vqloan::settings {

inline constexpr std::u16string_view iniFileName = u"SvrDisp.ini";
inline constexpr std::u16string_view hostFileName = u"CLIENT.PAR";

// The full path of a settings file: both lie in the component's own directory, and nowhere else.
std::u16string pathOf(std::u16string_view fileName);

// The value of a key, or the default where the section or the key is absent. A present value that is no
// number is 13, one out of range 6; this includes a key with nothing after the "=".
std::u16string readText(std::shared_ptr<IniFile>& ini, std::u16string_view section, std::u16string_view key,
                        std::u16string_view byDefault);
std::int32_t readLong(std::shared_ptr<IniFile>& ini, std::u16string_view section, std::u16string_view key,
                      std::int16_t byDefault);
std::int16_t readInteger(std::shared_ptr<IniFile>& ini, std::u16string_view section, std::u16string_view key,
                         std::int16_t byDefault);

} // namespace vqloan::settings
