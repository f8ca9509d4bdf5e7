#include "platform/standins/Placeholders.h"

#include <algorithm>
#include <optional>

#include "platform/runtime/OsProcess.h"

namespace vqloan::standins {
namespace {

constexpr char16_t marker = u'\u00A7';

} // namespace

bool Placeholders::resolve(std::u16string& name, std::u16string& culprit)
{
    std::vector<std::u16string> under;
    return expand(name, under, culprit);
}

// `under`: the names whose values are being expanded.
bool Placeholders::expand(std::u16string& name, std::vector<std::u16string>& under, std::u16string& culprit)
{
    std::optional<std::u16string> raw = os::environmentVariable(name);
    if (!raw || std::find(under.begin(), under.end(), name) != under.end()) {
        culprit = name;
        return true;
    }

    under.push_back(name);
    std::u16string value;
    std::u16string_view rest = *raw;
    for (;;) {
        const auto opening = rest.find(marker);
        const auto closing = opening == rest.npos ? rest.npos : rest.find(marker, opening + 1);
        if (closing == rest.npos)
            break; // a lone marker is an ordinary character
        std::u16string inner(rest.substr(opening + 1, closing - opening - 1));
        if (expand(inner, under, culprit))
            return true;
        value += rest.substr(0, opening);
        value += inner;
        rest.remove_prefix(closing + 1);
    }
    value += rest;
    under.pop_back();

    // Lone markers of two parts can meet. Every value taking away two markers and bringing one at most is
    // also what lets a caller who searches again from the start come to an end.
    if (std::count(value.begin(), value.end(), marker) > 1) {
        culprit = name;
        return true;
    }
    if (!value.empty())
        resolved_.insert(value);
    name = std::move(value);
    return false;
}

std::u16string Placeholders::mask(std::u16string_view text) const
{
    std::u16string masked;
    while (!text.empty()) {
        const auto found = std::find_if(resolved_.begin(), resolved_.end(),
                                        [text](const auto& value) { return text.starts_with(value); });
        masked += found == resolved_.end() ? text.substr(0, 1) : u"***";
        text.remove_prefix(found == resolved_.end() ? 1 : found->size());
    }
    return masked;
}

} // namespace vqloan::standins
