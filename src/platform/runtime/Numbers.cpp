#include "platform/runtime/Numbers.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

#include "platform/automation/Rounding.h"

namespace vqloan::numbers {
namespace {

// Hands out the characters of a text that count, in capitals; what is not ASCII reads as 0, as the end does.
class Reader
{
public:
    explicit Reader(std::u16string_view text) : rest_(text) { skipBlanks(); }

    char peek() const
    {
        return rest_.empty() || rest_[0] > 0x7F ? '\0' : capital(static_cast<char>(rest_[0]));
    }
    bool isDigit() const { return peek() >= '0' && peek() <= '9'; }
    char next()
    {
        const char taken = peek();
        rest_.remove_prefix(1);
        skipBlanks();
        return taken;
    }

private:
    static char capital(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }
    void skipBlanks()
    {
        const auto found = rest_.find_first_not_of(u" \t\n");
        rest_.remove_prefix(found == rest_.npos ? rest_.size() : found);
    }

    std::u16string_view rest_;
};

int digitOf(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : 16;
}

// The digits after "&H" or "&O" are the bits of an integer, of the smaller size that holds them.
double bitPattern(Reader reader)
{
    const int base = reader.peek() == 'H' ? 16 : reader.peek() == 'O' ? 8 : 0;
    if (base == 0)
        return 0;
    reader.next();
    std::uint64_t bits = 0;
    while (digitOf(reader.peek()) < base) {
        bits = bits * static_cast<unsigned>(base) + static_cast<unsigned>(digitOf(reader.next()));
        if (bits > std::numeric_limits<std::uint32_t>::max())
            throw RuntimeError(Failure::Overflow);
    }
    return bits <= 0xFFFF ? static_cast<std::int16_t>(bits) : static_cast<std::int32_t>(bits);
}

// The exponent, as text that a number can be given; empty where no digits follow the letter.
std::string exponent(Reader reader)
{
    if (reader.peek() != 'E' && reader.peek() != 'D')
        return {};
    reader.next();
    std::string digits = "e";
    if (reader.peek() == '+' || reader.peek() == '-')
        digits += reader.next();
    if (!reader.isDigit())
        return {};
    while (reader.isDigit())
        digits += reader.next();
    return digits;
}

// Whether a number too large or too small for a double is the latter, which is as good as 0.
bool isTiny(const std::string& mantissa, const std::string& exponent)
{
    const auto first = mantissa.find_first_of("123456789");
    const auto point = std::min(mantissa.find('.'), mantissa.size());
    std::int32_t power = 0;
    if (exponent.size() > 1) {
        const auto outcome = std::from_chars(exponent.data() + 1 + (exponent[1] == '+'),
                                             exponent.data() + exponent.size(), power);
        if (outcome.ec != std::errc()) // no text is long enough to make up for such an exponent
            return exponent[1] == '-';
    }
    return first == mantissa.npos ||
           power + static_cast<std::int64_t>(point) - static_cast<std::int64_t>(first) < 0;
}

} // namespace

double leadingNumber(std::u16string_view text)
{
    Reader reader(text);
    if (reader.peek() == '&') {
        reader.next();
        return bitPattern(reader);
    }
    std::string mantissa;
    if ((reader.peek() == '+' || reader.peek() == '-') && reader.next() == '-')
        mantissa += '-';
    bool pointSeen = false;
    bool digitSeen = false;
    while (reader.isDigit() || (reader.peek() == '.' && !pointSeen)) {
        pointSeen = pointSeen || reader.peek() == '.';
        digitSeen = digitSeen || reader.isDigit();
        mantissa += reader.next();
    }
    if (!digitSeen)
        return 0;

    const std::string power = exponent(reader);
    const std::string number = mantissa + power;
    double value = 0;
    const auto outcome = std::from_chars(number.data(), number.data() + number.size(), value);
    if (outcome.ec == std::errc::result_out_of_range) {
        if (isTiny(mantissa, power))
            return 0;
        throw RuntimeError(Failure::Overflow);
    }
    return value;
}

Int16 toInteger(double number)
{
    const double rounded = automation::roundHalfEven(number);
    if (!(rounded >= -32768 && rounded <= 32767))
        throw RuntimeError(Failure::Overflow);
    return Int16(static_cast<int>(rounded));
}

float toSingle(double number)
{
    // Compared after rounding: a little above the largest single is still rounded to it.
    const float single = static_cast<float>(number);
    if (!std::isfinite(single))
        throw RuntimeError(Failure::Overflow);
    return single;
}

} // namespace vqloan::numbers
