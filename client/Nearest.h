// What somebody may have meant by a name that is none.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vqloan::client {

// The name that takes the fewest letters to be put in, taken out or changed, at most two and no more than
// half of it; the empty text where none is that near.
std::string nearest(std::string_view word, const std::vector<std::string>& names);

} // namespace vqloan::client
