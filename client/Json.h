// Texts in JSON.
#pragma once

#include <string>
#include <string_view>

namespace vqloan::client {

// With its quotes, in UTF-8.
std::string jsonText(std::u16string_view text);

} // namespace vqloan::client
