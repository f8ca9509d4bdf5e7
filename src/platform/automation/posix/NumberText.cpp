#include "platform/automation/posix/NumberText.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace automation {

namespace {

bool isDigit(char16_t character) noexcept
{
    return character >= u'0' && character <= u'9';
}

// French users type a plain blank where their locale has a no-break or a narrow no-break one.
bool isThousands(char16_t character, const Locale& locale) noexcept
{
    const auto isSpace = [](char16_t c) { return c == u' ' || c == u'\u00A0' || c == u'\u202F'; };
    return locale.thousands != 0 &&
           (character == locale.thousands || (isSpace(character) && isSpace(locale.thousands)));
}

// Digits after the &, up to the end. The digits' value is the bit pattern of whatever integer is wanted.
HRESULT parseBits(std::u16string_view text, WrittenNumber& number)
{
    const char16_t kind = text.empty() ? u' ' : text.front();
    const bool isHexadecimal = kind == u'H' || kind == u'h';
    if (!isHexadecimal && kind != u'O' && kind != u'o')
        return DISP_E_TYPEMISMATCH;
    std::string digits;
    for (const char16_t character : text.substr(1))
        digits.push_back(character < 0x80 ? static_cast<char>(character) : '?');
    const char* end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, number.bits, isHexadecimal ? 16 : 8);
    if (stop != end || error == std::errc::invalid_argument)
        return DISP_E_TYPEMISMATCH;
    number.isBits = true;
    return error == std::errc::result_out_of_range ? DISP_E_OVERFLOW : S_OK;
}

// Takes the sign off the text, wherever it stands. False for two of them.
bool takeSign(std::u16string_view& text, bool& negative)
{
    const auto isSign = [](char16_t character) { return character == u'-' || character == u'+'; };
    if (text.size() >= 2 && text.front() == u'(' && text.back() == u')') {
        negative = true;
        text = trimBlanks(text.substr(1, text.size() - 2));
        return true;
    }
    const bool before = !text.empty() && isSign(text.front());
    const bool after = !text.empty() && isSign(text.back());
    if (before && after)
        return false;
    negative = (before && text.front() == u'-') || (after && text.back() == u'-');
    if (before)
        text.remove_prefix(1);
    else if (after)
        text.remove_suffix(1);
    text = trimBlanks(text);
    return true;
}

// The exponent after the E, up to the end. One that no number of digits could make up for is cut to stay an
// integer.
bool parseExponent(std::u16string_view text, std::int64_t& exponent)
{
    const bool negative = text.starts_with(u'-');
    if (negative || text.starts_with(u'+'))
        text.remove_prefix(1);
    if (text.empty() || !std::all_of(text.begin(), text.end(), isDigit))
        return false;
    std::int64_t value = 0;
    for (const char16_t digit : text)
        value = std::min<std::int64_t>(value * 10 + (digit - u'0'), std::int64_t{1} << 48);
    exponent += negative ? -value : value;
    return true;
}

} // namespace

HRESULT parseNumber(std::u16string_view text, const Locale& locale, WrittenNumber& number)
{
    number = {};
    text = trimBlanks(text);
    if (text.starts_with(u'&'))
        return parseBits(text.substr(1), number);
    if (!takeSign(text, number.negative))
        return DISP_E_TYPEMISMATCH;

    bool anyDigit = false;
    bool afterDecimal = false;
    std::size_t at = 0;
    for (; at < text.size(); ++at) {
        const char16_t character = text[at];
        if (isDigit(character)) {
            anyDigit = true;
            if (character != u'0' || !number.digits.empty())
                number.digits.push_back(static_cast<char>(character));
            number.exponent -= afterDecimal;
        } else if (character == locale.decimal && !afterDecimal) {
            afterDecimal = true;
        } else if (!isThousands(character, locale) || !anyDigit || afterDecimal) {
            break;
        }
    }
    if (!anyDigit)
        return DISP_E_TYPEMISMATCH;
    if (at == text.size())
        return S_OK;
    const bool hasExponent = text[at] == u'E' || text[at] == u'e';
    return hasExponent && parseExponent(text.substr(at + 1), number.exponent) ? S_OK : DISP_E_TYPEMISMATCH;
}

HRESULT toReal(const WrittenNumber& number, double& real)
{
    if (number.isBits) {
        real = static_cast<double>(number.bits);
        return S_OK;
    }
    real = 0;
    if (number.digits.empty())
        return S_OK;
    const std::string text = number.digits + 'e' + std::to_string(number.exponent);
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), real);
    if (error == std::errc::result_out_of_range) {
        const bool isTiny = static_cast<std::int64_t>(number.digits.size()) + number.exponent <= 0;
        real = 0;
        return isTiny ? S_OK : DISP_E_OVERFLOW;
    }
    if (number.negative)
        real = -real;
    return S_OK;
}

HRESULT toWhole(const WrittenNumber& number, Whole& whole)
{
    whole = {number.negative, 0};
    if (number.isBits) {
        whole = {false, number.bits};
        return S_OK;
    }
    if (number.digits.empty())
        return S_OK;
    const auto length = static_cast<std::int64_t>(number.digits.size()) + number.exponent;
    constexpr std::int64_t mostDigits = 20;
    if (length > mostDigits)
        return DISP_E_OVERFLOW;
    if (length < 0)
        return S_OK; // below 0.1

    std::string digits = number.digits;
    std::string fraction;
    if (number.exponent >= 0) {
        digits.append(static_cast<std::size_t>(number.exponent), '0');
    } else {
        fraction = digits.substr(static_cast<std::size_t>(length));
        digits.resize(static_cast<std::size_t>(length));
    }
    if (!digits.empty()) {
        const auto [stop, error] =
            std::from_chars(digits.data(), digits.data() + digits.size(), whole.magnitude);
        if (error != std::errc{})
            return DISP_E_OVERFLOW;
    }
    const bool isHalf = fraction.starts_with('5') && fraction.find_first_not_of('0', 1) == fraction.npos;
    const bool roundsUp = isHalf ? whole.magnitude % 2 == 1 : !fraction.empty() && fraction.front() >= '5';
    if (roundsUp && ++whole.magnitude == 0)
        return DISP_E_OVERFLOW;
    return S_OK;
}

std::u16string formatReal(double real, int digits, const Locale& locale)
{
    if (std::isnan(real))
        return u"1.#QNAN";
    if (std::isinf(real))
        return real < 0 ? u"-1.#INF" : u"1.#INF";
    char buffer[40];
    // There is no negative zero in automation's texts.
    const auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, real == 0 ? 0.0 : real,
                                            std::chars_format::general, digits);
    std::u16string text(buffer, end);
    for (char16_t& character : text)
        if (character == u'.')
            character = locale.decimal;
        else if (character == u'e')
            character = u'E';
    return text;
}

bool isBlank(char16_t character) noexcept
{
    return character == u' ' || (character >= u'\t' && character <= u'\r') || character == u'\u00A0';
}

std::u16string_view trimBlanks(std::u16string_view text) noexcept
{
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

} // namespace automation
