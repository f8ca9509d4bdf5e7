#include "platform/runtime/Clock.h"

#include "platform/runtime/OsProcess.h"

namespace vqloan::clock {

double today()
{
    return static_cast<double>((std::chrono::sys_days(os::localDate()) - dayZero).count());
}

double seconds() noexcept
{
    return static_cast<double>(milliseconds()) / 1000;
}

std::int64_t milliseconds() noexcept
{
    return os::milliseconds();
}

} // namespace vqloan::clock
