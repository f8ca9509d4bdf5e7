// Paths from and to UTF-8, in which programs keep their texts whatever the system's code page.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace vqloan::program {

inline std::filesystem::path pathOf(std::string_view utf8)
{
    return std::u8string(utf8.begin(), utf8.end());
}

inline std::string utf8Of(const std::filesystem::path& path)
{
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

} // namespace vqloan::program
