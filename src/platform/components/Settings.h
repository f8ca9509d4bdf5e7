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

#include <string>
#include <string_view>
#include <unordered_map>

namespace vqloan::standins {

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
