#include "platform/runtime/Clock.h"

#include <chrono>

#include "platform/runtime/OsProcess.h"

namespace vqloan::clock {

double today()
{
    using namespace std::chrono;
    const days since = sys_days(os::localDate()) - sys_days(1899y / December / 30);
    return static_cast<double>(since.count());
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
