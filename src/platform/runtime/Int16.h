// The 16-bit signed integer of positions and counters: whatever would not fit is RuntimeError 6 "Overflow".
#pragma once

#include <compare>
#include <cstdint>

#include "platform/runtime/RuntimeError.h"

namespace vqloan {

class Int16
{
public:
    constexpr Int16() noexcept = default;
    constexpr Int16(long long value) : value_(checked(value)) {}
    template <class Unsigned>
        requires(sizeof(Unsigned) == 8 && Unsigned(-1) > Unsigned(0))
    constexpr Int16(Unsigned value) : value_(checked(value > 32767u ? 32768 : static_cast<long long>(value)))
    {}
    constexpr Int16(int value) : Int16(static_cast<long long>(value)) {}

    constexpr operator int() const noexcept { return value_; }
    constexpr Int16& operator+=(long long amount)
    {
        value_ = checked(value_ + amount);
        return *this;
    }
    constexpr Int16& operator++() { return *this += 1; }

private:
    static constexpr std::int16_t checked(long long value)
    {
        if (value < -32768 || value > 32767)
            throw RuntimeError(Failure::Overflow);
        return static_cast<std::int16_t>(value);
    }

    std::int16_t value_ = 0;
};

} // namespace vqloan
