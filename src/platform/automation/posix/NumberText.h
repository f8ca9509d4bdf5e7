// Numbers as text, the way automation reads and writes them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/automation/Automation.h"
#include "platform/automation/posix/Locale.h"

namespace automation {

// A number as it was written: exact, since a 64-bit integer does not fit a double.
struct WrittenNumber
{
    bool isBits = false; // &H or &O: `bits` holds the digits' value
    std::uint64_t bits = 0;

    // Otherwise the value is digits * 10^exponent; no digits (leading zeros are dropped) is 0.
    bool negative = false;
    std::string digits;
    std::int64_t exponent = 0;
};

// Takes blanks around, a sign before or after, parentheses for a negative number, the locale's separators, an
// exponent, or &H and &O. DISP_E_TYPEMISMATCH for anything else, DISP_E_OVERFLOW for more bits than 64.
HRESULT parseNumber(std::u16string_view text, const Locale& locale, WrittenNumber& number);

// The nearest double. DISP_E_OVERFLOW when it is too big for one.
HRESULT toReal(const WrittenNumber& number, double& real);

// The nearest integer, halves to the even neighbour, as sign and magnitude. DISP_E_OVERFLOW beyond 64 bits.
struct Whole
{
    bool negative;
    std::uint64_t magnitude;
};
HRESULT toWhole(const WrittenNumber& number, Whole& whole);

// Up to `digits` significant digits; with exponent (1E+20) when more would be needed, or below 0.0001.
std::u16string formatReal(double real, int digits, const Locale& locale);

// Blanks as texts have them around and between their parts.
bool isBlank(char16_t character) noexcept;
std::u16string_view trimBlanks(std::u16string_view text) noexcept;

} // namespace automation
