// Owner of a VARIANT, with the conversions the component uses. Failed conversions are RuntimeError 13
// "Type mismatch", 6 "Overflow" or, for Null, 94 "Invalid use of Null".
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/automation/Automation.h"

namespace vqloan {

class Variant
{
public:
    Variant() noexcept { VariantInit(&value_); }
    Variant(std::int16_t value) noexcept;
    Variant(std::int32_t value) noexcept;
    Variant(std::int64_t value) noexcept;
    Variant(double value) noexcept;
    Variant(std::u16string_view text); // 7 when memory runs out
    Variant(const char16_t* text) : Variant(std::u16string_view(text)) {}
    Variant(const std::u16string& text) : Variant(std::u16string_view(text)) {}
    // Days since 1899-12-30, the time of day as fraction.
    static Variant fromDate(double days) noexcept;
    // The narrowest of 32 and 64 bits that holds it.
    static Variant integer(std::int64_t value) noexcept;
    static Variant null() noexcept;
    // What automation passes for an argument that the caller left out.
    static Variant missing() noexcept;
    // A copy that refers to nothing of the caller's (by-reference values are followed).
    static Variant copyOf(const VARIANT& source);

    ~Variant() { VariantClear(&value_); }
    Variant(const Variant& other);
    Variant(Variant&& other) noexcept;
    Variant& operator=(Variant other) noexcept;

    bool isEmpty() const noexcept { return value_.vt == VT_EMPTY; }
    bool isNull() const noexcept { return value_.vt == VT_NULL; }
    bool isMissing() const noexcept { return isMissing(value_); }
    static bool isMissing(const VARIANT& value) noexcept;

    // Conversions by the automation rules under the user's locale; halves go to the even neighbour.
    std::int16_t toInteger() const;
    std::int32_t toLong() const;
    std::u16string toText() const;
    // Days since 1899-12-30.
    double toDate() const;

    const VARIANT& get() const noexcept { return value_; }
    // For an out or in/out parameter.
    VARIANT* address() noexcept { return &value_; }
    // The caller clears it.
    [[nodiscard]] VARIANT release() noexcept;

    // Stores `value` where an in/out argument points to, as assigning to the caller's variable does: through
    // by-reference arguments (converted to their type: 13, 6), and by replacing the contents of others.
    static void assign(VARIANT& argument, const Variant& value);

private:
    VARIANT value_;
};

} // namespace vqloan
