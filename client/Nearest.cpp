#include "Nearest.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace vqloan::client {

namespace {

std::size_t distance(std::string_view a, std::string_view b)
{
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t changed = diagonal + (a[i] == b[j] ? 0 : 1);
            diagonal = std::exchange(row[j + 1], std::min({changed, row[j] + 1, row[j + 1] + 1}));
        }
    }
    return row.back();
}

} // namespace

std::string nearest(std::string_view word, const std::vector<std::string>& names)
{
    std::size_t least = 3;
    std::string found;
    for (const std::string& name : names) {
        const std::size_t changes = distance(word, name);
        if (changes < least && 2 * changes <= std::max(word.size(), name.size())) {
            least = changes;
            found = name;
        }
    }
    return found;
}

} // namespace vqloan::client
