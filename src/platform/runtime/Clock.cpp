#include "platform/runtime/Clock.h"

#include <atomic>
#include <chrono>
#include <cmath>
#include <limits>

#include "platform/runtime/OsProcess.h"

namespace vqloan::clock {
namespace {

std::atomic<double> dateToPretend = std::numeric_limits<double>::quiet_NaN();

} // namespace

double today()
{
    if (const double pretended = dateToPretend; !std::isnan(pretended))
        return pretended;
    using namespace std::chrono;
    const days since = sys_days(os::localDate()) - sys_days(1899y / December / 30);
    return static_cast<double>(since.count());
}

void setToday(std::optional<double> days) noexcept
{
    dateToPretend = days.value_or(std::numeric_limits<double>::quiet_NaN());
}

double seconds() noexcept
{
    return static_cast<double>(milliseconds()) / 1000;
}

std::int64_t milliseconds() noexcept
{
    using namespace std::chrono;
    return duration_cast<std::chrono::milliseconds>(steady_clock::now().time_since_epoch()).count();
}

} // namespace vqloan::clock
