#include "platform/automation/posix/DateText.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <optional>

#include "platform/automation/posix/NumberText.h"

namespace automation {

namespace {

namespace chrono = std::chrono;

constexpr chrono::sys_days dayZero = chrono::year{1899} / 12 / 30;
constexpr int secondsPerDay = 24 * 60 * 60;

struct Digits
{
    int value = 0;
    int count = 0;
};

// Takes parts off the front of a text.
class Scanner
{
public:
    explicit Scanner(std::u16string_view text) noexcept : rest_(text) {}

    bool atEnd() const noexcept { return rest_.empty(); }
    char16_t next() const noexcept { return rest_.empty() ? u'\0' : rest_.front(); }

    bool take(char16_t character) noexcept
    {
        if (rest_.empty() || rest_.front() != character)
            return false;
        rest_.remove_prefix(1);
        return true;
    }
    bool takeBlanks() noexcept
    {
        const std::size_t before = rest_.size();
        while (!rest_.empty() && isBlank(rest_.front()))
            rest_.remove_prefix(1);
        return rest_.size() < before;
    }
    bool takeDigits(int most, Digits& digits) noexcept
    {
        digits = {};
        for (; next() >= u'0' && next() <= u'9'; rest_.remove_prefix(1)) {
            if (++digits.count > most)
                return false;
            digits.value = digits.value * 10 + (next() - u'0');
        }
        return digits.count > 0;
    }
    // The two letters of AM or PM.
    bool takeLetters(char16_t first, char16_t second) noexcept
    {
        if (rest_.size() < 2 || (rest_[0] & ~0x20) != first || (rest_[1] & ~0x20) != second)
            return false;
        rest_.remove_prefix(2);
        return true;
    }

private:
    std::u16string_view rest_;
};

std::optional<chrono::sys_days> calendarDay(Digits year, Digits month, Digits day)
{
    if (month.count > 2 || day.count > 2)
        return std::nullopt;
    int full = year.value;
    if (year.count <= 2)
        full += full < 30 ? 2000 : 1900;
    const chrono::year_month_day date{chrono::year{full}, chrono::month{static_cast<unsigned>(month.value)},
                                      chrono::day{static_cast<unsigned>(day.value)}};
    if (full < 100 || !date.ok())
        return std::nullopt;
    return chrono::sys_days{date};
}

std::optional<chrono::sys_days> calendarDay(const std::array<Digits, 3>& parts, DateOrder order)
{
    switch (order) {
    case DateOrder::DayMonthYear:
        return calendarDay(parts[2], parts[1], parts[0]);
    case DateOrder::MonthDayYear:
        return calendarDay(parts[2], parts[0], parts[1]);
    default:
        return calendarDay(parts[0], parts[1], parts[2]);
    }
}

bool takeDay(Scanner& scanner, const Locale& locale, double& day)
{
    std::array<Digits, 3> parts;
    if (!scanner.takeDigits(4, parts[0]))
        return false;
    const char16_t separator = scanner.next();
    if (separator != u'/' && separator != u'-' && separator != u'.')
        return false;
    for (std::size_t part : {1u, 2u})
        if (!scanner.take(separator) || !scanner.takeDigits(4, parts[part]))
            return false;

    for (const DateOrder order :
         {locale.order, DateOrder::DayMonthYear, DateOrder::MonthDayYear, DateOrder::YearMonthDay})
        if (const auto found = calendarDay(parts, order)) {
            day = static_cast<double>((*found - dayZero).count());
            return true;
        }
    return false;
}

bool takeTime(Scanner& scanner, double& fraction)
{
    Digits hour, minute, second;
    double part = 0;
    if (!scanner.takeDigits(2, hour) || !scanner.take(u':') || !scanner.takeDigits(2, minute))
        return false;
    if (scanner.take(u':')) {
        if (!scanner.takeDigits(2, second))
            return false;
        if (scanner.next() == u'.' || scanner.next() == u',') {
            scanner.take(scanner.next());
            Digits digits;
            if (!scanner.takeDigits(9, digits))
                return false;
            part = digits.value / std::pow(10, digits.count);
        }
    }
    scanner.takeBlanks();
    const bool morning = scanner.takeLetters(u'A', u'M');
    const bool evening = !morning && scanner.takeLetters(u'P', u'M');
    if (morning || evening) {
        if (hour.value < 1 || hour.value > 12)
            return false;
        hour.value = hour.value % 12 + (evening ? 12 : 0);
    }
    if (hour.value > 23 || minute.value > 59 || second.value > 59)
        return false;
    fraction = ((hour.value * 60 + minute.value) * 60 + second.value + part) / secondsPerDay;
    return true;
}

void appendPadded(std::u16string& text, int number, int width)
{
    const std::string digits = std::to_string(number);
    text.append(static_cast<std::size_t>(std::max(0, width - static_cast<int>(digits.size()))), u'0');
    text.append(digits.begin(), digits.end());
}

void appendDay(std::u16string& text, int day, const Locale& locale)
{
    const chrono::year_month_day date{dayZero + chrono::days{day}};
    const auto append = [&](char16_t which) {
        if (which == u'y')
            appendPadded(text, static_cast<int>(date.year()), 4);
        else
            appendPadded(text,
                         static_cast<int>(which == u'm' ? unsigned{date.month()} : unsigned{date.day()}), 2);
    };
    const char16_t* order = locale.order == DateOrder::DayMonthYear   ? u"dmy"
                            : locale.order == DateOrder::MonthDayYear ? u"mdy"
                                                                      : u"ymd";
    append(order[0]);
    text.push_back(locale.dateSeparator);
    append(order[1]);
    text.push_back(locale.dateSeparator);
    append(order[2]);
}

void appendTime(std::u16string& text, int seconds)
{
    appendPadded(text, seconds / 3600, 2);
    text.push_back(u':');
    appendPadded(text, seconds / 60 % 60, 2);
    text.push_back(u':');
    appendPadded(text, seconds % 60, 2);
}

} // namespace

bool isDate(double days) noexcept
{
    return days > -657435.0 && days < 2958466.0; // not a number is neither
}

bool parseDate(std::u16string_view text, const Locale& locale, double& days)
{
    const std::u16string_view trimmed = trimBlanks(text);
    Scanner scanner(trimmed);
    double fraction = 0;
    if (takeTime(scanner, fraction) && scanner.atEnd()) {
        days = fraction;
        return true;
    }

    scanner = Scanner(trimmed);
    double day = 0;
    if (!takeDay(scanner, locale, day))
        return false;
    const bool isIso = trimmed.size() > 4 && trimmed[4] == u'-';
    fraction = 0;
    if (scanner.takeBlanks() || (isIso && (scanner.take(u'T') || scanner.take(u't')))) {
        if (!takeTime(scanner, fraction))
            return false;
        if (isIso && !scanner.take(u'Z'))
            scanner.take(u'z');
    }
    days = day < 0 ? day - fraction : day + fraction;
    return scanner.atEnd();
}

std::u16string formatDate(double days, const Locale& locale)
{
    int day = static_cast<int>(days);
    auto seconds = static_cast<int>(std::lround(std::abs(days - day) * secondsPerDay));
    if (seconds == secondsPerDay) {
        ++day;
        seconds = 0;
    }
    std::u16string text;
    if (day != 0)
        appendDay(text, day, locale);
    if (day != 0 && seconds != 0)
        text.push_back(u' ');
    if (day == 0 || seconds != 0)
        appendTime(text, seconds);
    return text;
}

} // namespace automation
