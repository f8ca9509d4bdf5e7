// Dates as text.
//
// A date is a number of days since 1899-12-30, its time of day the fraction. The fraction counts forward on
// either side of 0: -1.25 is 06:00 on the day before.
#pragma once

#include <string>
#include <string_view>

#include "platform/automation/Automation.h"
#include "platform/automation/posix/Locale.h"

namespace automation {

// From the year 100 to 9999.
bool isDate(double days) noexcept;

// Reads a date, a date and a time, or a time:
//   2024-01-31, also with "T" or a blank and a time, and a Z, which is passed over
//   31/1/2024, 31-1-24, 31.1.2024 in the locale's order, in another when that cannot be a date;
//   years of two digits lie between 1930 and 2029
//   10:30, 10:30:59, 10:30:59.5, 10:30 PM
// False when the text is none of these. A plain number is left to the caller.
bool parseDate(std::u16string_view text, const Locale& locale, double& days);

// In the locale's order with four digits for the year, the time as hh:mm:ss to the nearest second. Midnight
// is left out, and so is day 0. The date must be one.
std::u16string formatDate(double days, const Locale& locale);

} // namespace automation
