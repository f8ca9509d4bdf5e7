// Placeholder values: "§NAME§" stands for the environment variable NAME.
#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace vqloan::standins {

// Remembers what it has resolved, so that texts that anybody may read can be kept free of it.
class Placeholders
{
public:
    enum class Outcome
    {
        Resolved,
        NotSet,      // no such variable
        BadContents, // its value leads back to itself or to a variable that is not set, or holds a
                     // placeholder
    };
    // Replaces `name` by its value, in which placeholders are replaced in turn; leaves it when that cannot be
    // done.
    Outcome resolve(std::u16string& name);

    // The text with "***" in the place of every value resolved so far.
    std::u16string mask(std::u16string_view text) const;

private:
    struct LongestFirst
    {
        bool operator()(const std::u16string& a, const std::u16string& b) const
        {
            return a.size() != b.size() ? a.size() > b.size() : a < b;
        }
    };

    Outcome expand(std::u16string& name, std::vector<std::u16string>& under);

    std::set<std::u16string, LongestFirst> resolved_;
};

} // namespace vqloan::standins
