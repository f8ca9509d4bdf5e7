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

// Stores what `value` says in the fields. Without a length, `length` stays as it is; a start of 0 becomes 1.
// An empty value keeps the start or is RuntimeError 9, as `whenEmpty` says. A number outside 16 bits is 6;
// what was stored before it stays.
void readPositionPair(std::u16string_view value, WhenEmpty whenEmpty, std::int16_t& start,
                      std::int16_t& length);

} // namespace vqloan::settings
