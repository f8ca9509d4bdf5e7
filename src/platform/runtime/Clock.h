// Time: today's date, and clocks for waits.
#pragma once

#include <cstdint>

namespace vqloan::clock {

// The calendar date of the process's local time zone, as whole days since 1899-12-30.
double today();

// Seconds on a clock that never wraps or goes back, in steps of a millisecond.
double seconds() noexcept;
// Milliseconds on the same clock.
std::int64_t milliseconds() noexcept;

} // namespace vqloan::clock
