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
    // Replaces `name` by its value, in which placeholders are replaced in turn. True when that could NOT be
    // done: no such variable, one that leads back to itself, or a value that would still hold a placeholder;
    // then `culprit` is the name it failed on, and `name` is unchanged.
    bool resolve(std::u16string& name, std::u16string& culprit);

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

    bool expand(std::u16string& name, std::vector<std::u16string>& under, std::u16string& culprit);

    std::set<std::u16string, LongestFirst> resolved_;
};

} // namespace vqloan::standins
