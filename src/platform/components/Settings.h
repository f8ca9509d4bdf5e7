// The contents of a settings file. Sections and keys match without regard to case; of several with one name
// the first counts. A file is
//
//     ; a comment: only a line that begins so
//     [SECTION]
//     KEY = value            blanks (spaces, TABs) around the parts are dropped,
//     OTHER=" a value "      and one pair of quotes around the value, " or '
//
// in UTF-8 (with a byte-order mark, or valid with a character beyond ASCII), UTF-16 (with a byte-order mark)
// or else in the single-byte code page.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vqloan::standins {

// One line of a settings file that is neither empty nor a comment.
struct SettingsLine
{
    enum class Role
    {
        section,
        value,
        unread // without a "="
    };

    std::size_t number; // from 1
    Role role;
    bool counts; // false: another one of its name came first, or it is of no section that counts
    std::u16string section, key, value; // as written, without blanks and quotes around
};

// The file's lines in their order.
std::vector<SettingsLine> linesOf(std::string_view fileContents);

class Settings
{
public:
    Settings() = default;
    explicit Settings(std::string_view fileContents);

    // Null where the section or the key is absent. Good until the object changes.
    const std::u16string* find(std::u16string_view section, std::u16string_view key) const;

private:
    std::unordered_map<std::u16string, std::u16string> values_; // by section and key in capitals, see keyOf
};

} // namespace vqloan::standins
