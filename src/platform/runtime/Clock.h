// Time: today's date, and clocks for waits.
#pragma once

#include <cstdint>
#include <optional>

namespace vqloan::clock {

// The calendar date of the process's local time zone, as whole days since 1899-12-30.
double today();
// Makes `today` answer this date (whole days since 1899-12-30), for tests; nothing restores the real one.
void setToday(std::optional<double> days) noexcept;

// Seconds on a clock that never wraps or goes back, in steps of a millisecond.
double seconds() noexcept;
// Milliseconds on the same clock.
std::int64_t milliseconds() noexcept;

} // namespace vqloan::clock
