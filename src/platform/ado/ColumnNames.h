// The names of a result's columns.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vqloan {

// Names match without regard to case; of columns with the same name the first is found.
class ColumnNames
{
public:
    void assign(const std::vector<std::u16string>& names);

    std::size_t count() const noexcept { return count_; }
    std::optional<std::size_t> find(std::u16string_view name) const;
    // Whether that character is in a name.
    bool anyHolds(char16_t character) const;

private:
    std::size_t count_ = 0;
    std::vector<std::pair<std::u16string, std::size_t>> firsts_; // each name once, with its position
};

} // namespace vqloan
