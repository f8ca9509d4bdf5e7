// What a step of a test fails with.
#pragma once

#include <cstdint>
#include <functional>

#include "platform/runtime/RuntimeError.h"

namespace vqloan::test {

inline constexpr std::int32_t none = 0;

// The number of the failure that the step ends in, 0 when it does not fail.
inline std::int32_t failureOf(const std::function<void()>& step)
{
    try {
        step();
    } catch (const RuntimeError& error) {
        return error.number;
    }
    return none;
}

} // namespace vqloan::test
