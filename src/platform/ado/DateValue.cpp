#include "platform/ado/DateValue.h"

#include <charconv>
#include <chrono>

#include "platform/runtime/Clock.h"

namespace vqloan {

namespace {

class IsoReader
{
public:
    explicit IsoReader(std::string_view text) : rest_(text) {}

    // Exactly that many digits.
    bool digits(std::size_t count, int& number)
    {
        if (rest_.size() < count || rest_.substr(0, count).find_first_not_of("0123456789") != rest_.npos)
            return false;
        std::from_chars(rest_.data(), rest_.data() + count, number);
        rest_.remove_prefix(count);
        return true;
    }
    // Any of those characters.
    bool sign(std::string_view anyOf)
    {
        if (rest_.empty() || anyOf.find(rest_.front()) == anyOf.npos)
            return false;
        rest_.remove_prefix(1);
        return true;
    }
    // The digits after a decimal sign.
    bool fraction(double& second)
    {
        double unit = 0.1;
        int digit = 0;
        if (!digits(1, digit))
            return false;
        do {
            second += digit * unit;
            unit /= 10;
        } while (digits(1, digit));
        return true;
    }
    bool atEnd() const { return rest_.empty(); }

private:
    std::string_view rest_;
};

bool readTime(IsoReader& reader, DateParts& parts)
{
    if (!reader.digits(2, parts.hour) || !reader.sign(":") || !reader.digits(2, parts.minute))
        return false;
    if (reader.sign(":")) {
        int second = 0;
        if (!reader.digits(2, second))
            return false;
        parts.second = second;
        if (reader.sign(".,") && !reader.fraction(parts.second))
            return false;
    }
    return true;
}

bool skipZone(IsoReader& reader)
{
    int ignored = 0;
    if (reader.sign("Zz"))
        return true;
    if (!reader.sign("+-"))
        return true;
    if (!reader.digits(2, ignored))
        return false;
    return reader.atEnd() || ((reader.sign(":"), true) && reader.digits(2, ignored));
}

} // namespace

std::optional<double> dateValue(const DateParts& parts)
{
    using namespace std::chrono;
    const year_month_day day{year(parts.year), month(static_cast<unsigned>(parts.month)),
                             std::chrono::day(static_cast<unsigned>(parts.day))};
    const bool isTime = parts.hour >= 0 && parts.hour < 24 && parts.minute >= 0 && parts.minute < 60 &&
                        parts.second >= 0 && parts.second < 60;
    if (!day.ok() || parts.year < 100 || parts.year > 9999 || !isTime)
        return {};
    const auto days = static_cast<double>((sys_days(day) - clock::dayZero).count());
    const double fraction = (parts.hour * 3600 + parts.minute * 60 + parts.second) / 86400;
    // Before the epoch the fraction still counts forward from midnight, so it is written away from zero.
    return days < 0 ? days - fraction : days + fraction;
}

std::optional<double> dateFromIso(std::string_view text)
{
    IsoReader reader(text);
    DateParts parts;
    if (!reader.digits(4, parts.year) || !reader.sign("-") || !reader.digits(2, parts.month) ||
        !reader.sign("-") || !reader.digits(2, parts.day))
        return {};
    if (reader.sign("T t") && (!readTime(reader, parts) || !skipZone(reader)))
        return {};
    if (!reader.atEnd())
        return {};
    return dateValue(parts);
}

} // namespace vqloan
