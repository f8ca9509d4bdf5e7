// The 16-bit signed integer of positions and counters: whatever would not fit is RuntimeError 6 "Overflow".
#pragma once

#include <concepts>
#include <cstdint>
#include <utility>

#include "platform/runtime/RuntimeError.h"

namespace vqloan {

class Int16
{
public:
    constexpr Int16() noexcept = default;
    constexpr Int16(std::integral auto value) : value_(checked(value)) {}

    constexpr operator int() const noexcept { return value_; }
    constexpr Int16& operator+=(int amount)
    {
        value_ = checked(value_ + amount);
        return *this;
    }
    constexpr Int16& operator++() { return *this += 1; }

private:
    static constexpr std::int16_t checked(std::integral auto value)
    {
        if (!std::in_range<std::int16_t>(value))
            throw RuntimeError(Failure::Overflow);
        return static_cast<std::int16_t>(value);
    }

    std::int16_t value_ = 0;
};

// RuntimeError 6 for a position or count that does not fit.
constexpr void requireInt16(std::integral auto value)
{
    static_cast<void>(Int16(value));
}

} // namespace vqloan
