// Dates as automation has them: days since 1899-12-30, the time of day as fraction.
#pragma once

#include <optional>
#include <string_view>

namespace vqloan {

struct DateParts
{
    int year = 0, month = 0, day = 0; // 100 to 9999 is the range of automation dates
    int hour = 0, minute = 0;
    double second = 0;
};

// Nothing for a day or time of day that there is not.
std::optional<double> dateValue(const DateParts& parts);

// ISO 8601: YYYY-MM-DD, then optionally T or a blank and hh:mm, :ss and a fraction, then optionally Z or
// +hh:mm. The zone is not applied: a due date is the day that was written. Nothing for any other text.
std::optional<double> dateFromIso(std::string_view text);

} // namespace vqloan
