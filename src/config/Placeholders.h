// Placeholders in settings: "§name§" stands for a value that is kept elsewhere.
#pragma once

#include <string>

namespace vqloan::settings {

// Resolves every placeholder anywhere in the text, in place; a "§" without a second one stays. False when one
// cannot be resolved: the text then holds what was resolved before it.
[[nodiscard]] bool resolveAll(std::u16string& text);

// Resolves a text that is one placeholder as a whole, in place; a text that does not begin with "§" is taken
// as it is. False when it cannot be resolved.
[[nodiscard]] bool resolveWhole(std::u16string& text);

} // namespace vqloan::settings
