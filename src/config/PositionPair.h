// Position pairs: "start,length" or "start", the part of an inventory number or a library code that is used.
#pragma once

#include <cstdint>
#include <string_view>

namespace vqloan::settings {

enum class WhenEmpty
{
    fail,
    keepStart
};

// Stores the elements of `value` in the fields; a length that is not given keeps the one the field had, a
// start of 0 becomes 1. An empty value is 9 or keeps the start, as `whenEmpty` says; an element outside 16
// bits is 6. What was stored before a failure stays.
void readPositionPair(std::u16string_view value, WhenEmpty whenEmpty, std::int16_t& start,
                      std::int16_t& length);

} // namespace vqloan::settings
