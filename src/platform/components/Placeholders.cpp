#include "platform/components/Placeholders.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "platform/runtime/OsProcess.h"

namespace vqloan::standins {
namespace {

constexpr char16_t marker = u'\u00A7';

// `under`: the names whose values are being expanded.
Resolving expand(std::u16string& name, std::vector<std::u16string>& under)
{
    const std::optional<std::u16string> raw = os::environmentVariable(name);
    if (!raw)
        return Resolving::NotSet;
    if (std::find(under.begin(), under.end(), name) != under.end())
        return Resolving::BadContents;

    under.push_back(name);
    std::u16string value;
    std::u16string_view rest = *raw;
    for (;;) {
        const auto opening = rest.find(marker);
        const auto closing = opening == rest.npos ? rest.npos : rest.find(marker, opening + 1);
        if (closing == rest.npos)
            break; // a lone marker is an ordinary character
        std::u16string inner(rest.substr(opening + 1, closing - opening - 1));
        if (expand(inner, under) != Resolving::Resolved)
            return Resolving::BadContents;
        value += rest.substr(0, opening);
        value += inner;
        rest.remove_prefix(closing + 1);
    }
    value += rest;
    under.pop_back();

    // Lone markers of two parts can meet. Every value taking away two markers and bringing one at most is
    // also what lets a caller who searches again from the start come to an end.
    if (std::count(value.begin(), value.end(), marker) > 1)
        return Resolving::BadContents;
    name = std::move(value);
    return Resolving::Resolved;
}

} // namespace

Resolving resolvePlaceholder(std::u16string& name)
{
    std::vector<std::u16string> under;
    return expand(name, under);
}

} // namespace vqloan::standins
