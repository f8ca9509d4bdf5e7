// Placeholder values: "§NAME§" stands for the environment variable NAME.
#pragma once

#include <string>

namespace vqloan::standins {

enum class Resolving
{
    Resolved,
    NotSet,      // no such variable
    BadContents, // its value leads back to itself or to a variable that is not set, or holds a placeholder
};
// Replaces `name` by its value, in which placeholders are replaced in turn; leaves it when that cannot be
// done.
Resolving resolvePlaceholder(std::u16string& name);

} // namespace vqloan::standins
