#include "platform/runtime/Text.h"

#include <algorithm>
#include <iterator>

#include "platform/runtime/RuntimeError.h"
#include "platform/runtime/UpperCaseTable.h"

namespace vqloan::text {
namespace {

constexpr char32_t replacement = 0xFFFD;

char32_t upperOf(char32_t character)
{
    if (character < 0x80)
        return character >= U'a' && character <= U'z' ? character - 0x20 : character;
    const auto* range = std::partition_point(std::begin(upperCaseRanges), std::end(upperCaseRanges),
                                             [character](const auto& r) { return r.last < character; });
    if (range == std::end(upperCaseRanges) || character < range->first ||
        (character - range->first) % static_cast<char32_t>(range->step) != 0)
        return character;
    return static_cast<char32_t>(static_cast<std::int32_t>(character) + range->offset);
}

// Takes one character off the front of UTF-8 that is not empty. False for an ill-formed one: then all is
// taken that could have begun a character, at least one byte.
bool takeUtf8(std::string_view& bytes, char32_t& character)
{
    const auto lead = static_cast<unsigned char>(bytes[0]);
    bytes.remove_prefix(1);
    character = lead;
    if (lead < 0x80)
        return true;
    if (lead < 0xC2 || lead > 0xF4)
        return false;

    // The second byte's range is what keeps out overlong forms, surrogates, and numbers above U+10FFFF.
    unsigned char lowest = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    unsigned char highest = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    const int following = lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
    character = lead & (0x3Fu >> following);
    for (int i = 0; i < following; ++i) {
        const auto byte = static_cast<unsigned char>(bytes.empty() ? '\0' : bytes[0]);
        if (byte < lowest || byte > highest)
            return false;
        character = character << 6 | (byte & 0x3Fu);
        bytes.remove_prefix(1);
        lowest = 0x80;
        highest = 0xBF;
    }
    return true;
}

std::size_t notNegative(std::int32_t length)
{
    if (length < 0)
        throw RuntimeError(Failure::InvalidCall);
    return static_cast<std::size_t>(length);
}

} // namespace

char32_t takeCharacter(std::u16string_view& text) noexcept
{
    const char32_t unit = text[0];
    if (isHighSurrogate(unit) && text.size() > 1 && isLowSurrogate(text[1])) {
        const char32_t character = 0x10000 + ((unit - 0xD800) << 10) + (text[1] - 0xDC00u);
        text.remove_prefix(2);
        return character;
    }
    text.remove_prefix(1);
    return unit;
}

void append(std::u16string& text, char32_t character)
{
    if (character > 0xFFFF) {
        text += static_cast<char16_t>(0xD800 + ((character - 0x10000) >> 10));
        text += static_cast<char16_t>(0xDC00 + ((character - 0x10000) & 0x3FF));
    } else {
        text += static_cast<char16_t>(character);
    }
}

std::u16string upper(std::u16string_view text)
{
    std::u16string result;
    result.reserve(text.size());
    while (!text.empty())
        append(result, upperOf(takeCharacter(text)));
    return result;
}

bool equalsIgnoringCase(std::u16string_view a, std::u16string_view b)
{
    // No character changes its number of units, so texts of different length differ.
    if (a.size() != b.size())
        return false;
    while (!a.empty() && !b.empty()) {
        if (upperOf(takeCharacter(a)) != upperOf(takeCharacter(b)))
            return false;
    }
    return a.empty() && b.empty();
}

std::u16string_view trimLeft(std::u16string_view text) noexcept
{
    text.remove_prefix(std::min(text.find_first_not_of(u' '), text.size()));
    return text;
}

std::u16string_view trimRight(std::u16string_view text) noexcept
{
    return text.substr(0, text.find_last_not_of(u' ') + 1);
}

std::u16string_view trim(std::u16string_view text) noexcept
{
    return trimLeft(trimRight(text));
}

std::u16string_view mid(std::u16string_view text, std::int32_t start)
{
    if (start < 1)
        throw RuntimeError(Failure::InvalidCall);
    return text.substr(std::min(static_cast<std::size_t>(start) - 1, text.size()));
}

std::u16string_view mid(std::u16string_view text, std::int32_t start, std::int32_t length)
{
    return mid(text, start).substr(0, notNegative(length));
}

std::u16string_view left(std::u16string_view text, std::int32_t length)
{
    return text.substr(0, notNegative(length));
}

std::u16string fromCodePage(std::string_view bytes)
{
    std::u16string text;
    fromCodePage(bytes, text);
    return text;
}

std::string toUtf8(std::u16string_view text)
{
    // Nearly every text is ASCII alone, and paths are converted with each file operation.
    std::string bytes(text.size(), '\0');
    char16_t allBits = 0;
    std::transform(text.begin(), text.end(), bytes.begin(), [&allBits](char16_t unit) {
        allBits |= unit;
        return static_cast<char>(unit);
    });
    if (allBits < 0x80)
        return bytes;
    bytes.clear();
    const auto add = [&bytes](char32_t byte) { bytes += static_cast<char>(byte); };
    while (!text.empty()) {
        char32_t character = takeCharacter(text);
        if (isSurrogate(character))
            character = replacement;
        if (character < 0x80) {
            add(character);
        } else if (character < 0x800) {
            add(0xC0 | character >> 6);
            add(0x80 | (character & 0x3F));
        } else if (character < 0x10000) {
            add(0xE0 | character >> 12);
            add(0x80 | (character >> 6 & 0x3F));
            add(0x80 | (character & 0x3F));
        } else {
            add(0xF0 | character >> 18);
            add(0x80 | (character >> 12 & 0x3F));
            add(0x80 | (character >> 6 & 0x3F));
            add(0x80 | (character & 0x3F));
        }
    }
    return bytes;
}

std::u16string fromUtf8(std::string_view bytes)
{
    std::u16string text;
    text.reserve(bytes.size());
    for (char32_t character = 0; !bytes.empty();)
        append(text, takeUtf8(bytes, character) ? character : replacement);
    return text;
}

bool isUtf8(std::string_view bytes) noexcept
{
    for (char32_t character = 0; !bytes.empty();) {
        if (!takeUtf8(bytes, character))
            return false;
    }
    return true;
}

std::u16string fromBytes(std::string_view bytes)
{
    return isUtf8(bytes) ? fromUtf8(bytes) : fromCodePage(bytes);
}

std::u16string decimal(std::int64_t number)
{
    const std::string digits = std::to_string(number);
    return {digits.begin(), digits.end()};
}

} // namespace vqloan::text
