// Windows-1252 in both directions.
#include <algorithm>
#include <array>

#include "platform/runtime/Text.h"

namespace vqloan::text {
namespace {

// Bytes 0x80 to 0x9F; every other byte is the character of the same number. The five bytes without a
// character of their own stand for the control characters of the same number.
constexpr std::array<char16_t, 32> above7F = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                              0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                              0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                              0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

char byteOf(char16_t unit)
{
    if (unit < 0x80 || (unit >= 0xA0 && unit <= 0xFF))
        return static_cast<char>(unit);
    const auto found = std::find(above7F.begin(), above7F.end(), unit);
    return found == above7F.end() ? '?' : static_cast<char>(0x80 + (found - above7F.begin()));
}

} // namespace

std::string toCodePage(std::u16string_view text)
{
    std::string bytes;
    bytes.reserve(text.size());
    for (std::size_t at = 0; at < text.size(); ++at) {
        bytes += byteOf(text[at]);
        if (isHighSurrogate(text[at]) && at + 1 < text.size() && isLowSurrogate(text[at + 1]))
            ++at; // one character, one "?"
    }
    return bytes;
}

void fromCodePage(std::string_view bytes, std::u16string& text)
{
    text.resize(bytes.size());
    std::transform(bytes.begin(), bytes.end(), text.begin(), [](char byte) {
        const auto number = static_cast<unsigned char>(byte);
        return number >= 0x80 && number <= 0x9F ? above7F[number - 0x80u] : char16_t{number};
    });
}

} // namespace vqloan::text
