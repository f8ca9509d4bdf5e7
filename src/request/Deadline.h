// The moment at which a wait for the SQL gateway ends.
#pragma once

#include <cstdint>

namespace vqloan {

// On the clock of SysTools::TickCount, which is asked for the time. RuntimeError 6 when the seconds or the
// moment do not fit that clock.
std::int32_t deadlineAfter(std::int32_t seconds);

} // namespace vqloan
