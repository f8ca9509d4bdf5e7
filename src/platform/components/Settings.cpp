#include "platform/components/Settings.h"

#include <algorithm>
#include <unordered_set>
#include <utility>

#include "platform/runtime/Text.h"

namespace vqloan::standins {
namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

// Without its byte-order mark; `low` and `high` are the places of a unit's bytes. A byte that lacks its other
// one is left out.
std::u16string fromUtf16(std::string_view bytes, std::size_t low, std::size_t high)
{
    const auto byte = [bytes](std::size_t at) { return static_cast<unsigned char>(bytes[at]); };
    std::u16string units;
    for (std::size_t at = 2; at + 1 < bytes.size(); at += 2)
        units += static_cast<char16_t>(byte(at + low) | byte(at + high) << 8);
    return units;
}

std::u16string decode(std::string_view bytes)
{
    if (bytes.starts_with(byteOrderMark))
        return text::fromUtf8(bytes.substr(byteOrderMark.size()));
    if (bytes.starts_with("\xFF\xFE"))
        return fromUtf16(bytes, 0, 1);
    if (bytes.starts_with("\xFE\xFF"))
        return fromUtf16(bytes, 1, 0);
    // Pure ASCII reads the same either way.
    return text::fromBytes(bytes);
}

std::u16string_view withoutBlanks(std::u16string_view text)
{
    const auto first = text.find_first_not_of(u" \t");
    if (first == text.npos)
        return {};
    return text.substr(first, text.find_last_not_of(u" \t") - first + 1);
}

std::u16string_view withoutQuotes(std::u16string_view value)
{
    const bool quoted = value.size() >= 2 && value.front() == value.back() &&
                        (value.front() == u'"' || value.front() == u'\'');
    return quoted ? value.substr(1, value.size() - 2) : value;
}

std::u16string nameOf(std::u16string_view text)
{
    return text::upper(withoutBlanks(text));
}

// No name holds a line feed, so no section and key can be taken for another's.
std::u16string keyOf(const std::u16string& sectionName, std::u16string_view key)
{
    return sectionName + u'\n' + nameOf(key);
}

} // namespace

std::vector<SettingsLine> linesOf(std::string_view fileContents)
{
    using Role = SettingsLine::Role;
    const std::u16string contents = decode(fileContents);
    std::u16string_view rest = contents;
    std::vector<SettingsLine> lines;
    std::unordered_set<std::u16string> seen; // sections, and keys with their section
    std::u16string section;
    bool isRead = false; // not before the first section, nor in a repeated one
    for (std::size_t number = 1; !rest.empty(); ++number) {
        const auto end = std::min(rest.find_first_of(u"\r\n"), rest.size());
        const std::u16string_view line = withoutBlanks(rest.substr(0, end));
        rest.remove_prefix(std::min(end + (rest.substr(end, 2) == u"\r\n" ? 2 : 1), rest.size()));

        if (line.empty() || line.front() == u';')
            continue;
        const auto equals = line.find(u'=');
        if (line.front() == u'[') {
            section = withoutBlanks(line.substr(1, line.find(u']') - 1));
            isRead = seen.insert(nameOf(section)).second;
            lines.push_back({number, Role::section, isRead, section, {}, {}});
        } else if (equals == line.npos) {
            lines.push_back({number, Role::unread, false, section, std::u16string(line), {}});
        } else {
            const std::u16string_view key = withoutBlanks(line.substr(0, equals));
            const bool counts = isRead && seen.insert(keyOf(nameOf(section), key)).second;
            lines.push_back({number, Role::value, counts, section, std::u16string(key),
                             std::u16string(withoutQuotes(withoutBlanks(line.substr(equals + 1))))});
        }
    }
    return lines;
}

Settings::Settings(std::string_view fileContents)
{
    for (SettingsLine& line : linesOf(fileContents))
        if (line.counts && line.role == SettingsLine::Role::value)
            values_.emplace(keyOf(nameOf(line.section), line.key), std::move(line.value));
}

const std::u16string* Settings::find(std::u16string_view section, std::u16string_view key) const
{
    const auto found = values_.find(keyOf(nameOf(section), key));
    return found == values_.end() ? nullptr : &found->second;
}

} // namespace vqloan::standins
