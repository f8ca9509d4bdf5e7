#include "platform/ado/ColumnNames.h"

#include <algorithm>

#include "platform/runtime/Text.h"

namespace vqloan {

void ColumnNames::assign(const std::vector<std::u16string>& names)
{
    count_ = names.size();
    firsts_.clear();
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (!find(names[i]))
            firsts_.emplace_back(names[i], i);
    }
}

std::optional<std::size_t> ColumnNames::find(std::u16string_view name) const
{
    // Nearly always the name is asked for as the database has it, and comparing costs less than upper-casing.
    for (const auto& [known, position] : firsts_) {
        if (text::equals(known, name))
            return position;
    }
    for (const auto& [known, position] : firsts_) {
        if (text::equalsIgnoringCase(known, name))
            return position;
    }
    return {};
}

bool ColumnNames::anyHolds(char16_t character) const
{
    return std::any_of(firsts_.begin(), firsts_.end(), [&](const auto& first) {
        return first.first.find(character) != std::u16string::npos;
    });
}

} // namespace vqloan
