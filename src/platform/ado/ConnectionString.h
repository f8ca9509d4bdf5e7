// A connection text: `key=value` pairs divided by semicolons.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vqloan {

// In settings, §NAME§ stands for a value that is kept elsewhere.
inline constexpr char16_t placeholderSign = u'\u00A7';

// Blanks around keys and values are dropped. A value may stand in single or double quotes, the quote doubled
// inside, or in braces, the closing one doubled inside; it may then hold semicolons and keep its blanks.
class ConnectionString
{
public:
    struct Pair
    {
        std::u16string key, value;
    };

    // As settings write it, a text may have placeholders (§NAME§) for whole pairs; such a part is then a
    // value without a key.
    enum class Placeholders
    {
        areResolved,
        mayStandAlone
    };

    // RuntimeError malformedConnectionText, which says what is wrong and where but quotes nothing: a
    // connection text may hold a password.
    explicit ConnectionString(std::u16string_view text,
                              Placeholders placeholders = Placeholders::areResolved);

    // The value of the last pair with that key, without regard to case; null when there is none.
    const std::u16string* find(std::u16string_view key) const;
    // In the order of the text.
    const std::vector<Pair>& pairs() const noexcept { return pairs_; }

private:
    std::vector<Pair> pairs_;
};

// The value as it stands behind its key: in braces where it would be read otherwise without.
std::u16string enclosed(std::u16string_view value);

} // namespace vqloan
