// Text as the language runtime treats it: UTF-16 units, positions from 1, spaces (character 32) trimmed and
// nothing else, upper-casing the same on every machine.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace vqloan::text {

// Simple Unicode upper-casing: one character for one, whatever the process's locale.
std::u16string upper(std::u16string_view text);
// The same as ==, which the standard library does unit by unit.
inline bool equals(std::u16string_view a, std::u16string_view b) noexcept
{
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(char16_t)) == 0;
}
bool equalsIgnoringCase(std::u16string_view a, std::u16string_view b);

std::u16string_view trimLeft(std::u16string_view text) noexcept;
std::u16string_view trimRight(std::u16string_view text) noexcept;
std::u16string_view trim(std::u16string_view text) noexcept;

// The part from `start` (from 1) to the end, or of at most `length` units; a start beyond the end gives the
// empty text. RuntimeError 5 for a start below 1 or a negative length.
std::u16string_view mid(std::u16string_view text, std::int32_t start);
std::u16string_view mid(std::u16string_view text, std::int32_t start, std::int32_t length);
// The first `length` units. RuntimeError 5 for a negative length.
std::u16string_view left(std::u16string_view text, std::int32_t length);

// Half of a character beyond 16 bits: the first one, the second one, either.
constexpr bool isHighSurrogate(char32_t unit) noexcept
{
    return (unit & 0xFFFFFC00) == 0xD800;
}
constexpr bool isLowSurrogate(char32_t unit) noexcept
{
    return (unit & 0xFFFFFC00) == 0xDC00;
}
constexpr bool isSurrogate(char32_t unit) noexcept
{
    return (unit & 0xFFFFF800) == 0xD800;
}
// Takes one character off the front of a text that is not empty; a surrogate without its other half as it is.
char32_t takeCharacter(std::u16string_view& text) noexcept;
void append(std::u16string& text, char32_t character);

// Windows-1252 (on Windows the machine's ANSI code page). A character it lacks is written as "?".
std::string toCodePage(std::u16string_view text);
std::u16string fromCodePage(std::string_view bytes);
// The same into a text whose space is used again.
void fromCodePage(std::string_view bytes, std::u16string& text);

// UTF-8. Ill-formed input reads as U+FFFD; a surrogate without its other half is written as U+FFFD.
std::string toUtf8(std::u16string_view text);
std::u16string fromUtf8(std::string_view bytes);
bool isUtf8(std::string_view bytes) noexcept;
// Bytes that nothing is known of: UTF-8 where they are that, else the code page.
std::u16string fromBytes(std::string_view bytes);

// A number in decimal digits, "-" in front when negative.
std::u16string decimal(std::int64_t number);

} // namespace vqloan::text
