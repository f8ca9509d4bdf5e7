// How the user writes numbers and dates.
#pragma once

#include <string>

namespace automation {

enum class DateOrder
{
    DayMonthYear,
    MonthDayYear,
    YearMonthDay
};

// As it stands, the conventions of a user without a locale; the day comes first, as where the libraries are.
struct Locale
{
    char16_t decimal = u'.';
    char16_t thousands = u','; // 0 where digits are not grouped
    DateOrder order = DateOrder::DayMonthYear;
    char16_t dateSeparator = u'/';
};

// A thread's conventions, and the settings that they were taken from.
struct UserLocale
{
    std::string numbers, dates;
    Locale conventions;
};

// The user's conventions, from LC_ALL, LC_NUMERIC, LC_TIME and LANG as the environment has them now, whatever
// the host program has told setlocale. Cheap as long as they stay the same. A locale that is not installed
// counts as none. Throws std::bad_alloc.
const Locale& userLocale();

} // namespace automation
