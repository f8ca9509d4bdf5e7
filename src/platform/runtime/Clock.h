// Time: today's date, and clocks for waits.
#pragma once

#include <chrono>
#include <cstdint>

namespace vqloan::clock {

// What dates count days from.
inline constexpr std::chrono::sys_days dayZero = std::chrono::year(1899) / 12 / 30;
// The calendar date of the process's local time zone, as whole days since then.
double today();

// Seconds on a clock that never wraps or goes back, in steps of a millisecond.
double seconds() noexcept;
// Milliseconds on the same clock.
std::int64_t milliseconds() noexcept;

} // namespace vqloan::clock
