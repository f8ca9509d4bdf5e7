#include "request/Deadline.h"

#include <utility>

#include "external/SysTools.h"
#include "platform/runtime/RuntimeError.h"

namespace vqloan {

namespace {

std::int32_t onClock(std::int64_t milliseconds)
{
    if (!std::in_range<std::int32_t>(milliseconds))
        throw RuntimeError(Failure::Overflow);
    return static_cast<std::int32_t>(milliseconds);
}

} // namespace

std::int32_t deadlineAfter(std::int32_t seconds)
{
    const std::int32_t now = sysTools().TickCount();
    return onClock(std::int64_t{now} + onClock(std::int64_t{seconds} * 1000));
}

} // namespace vqloan
