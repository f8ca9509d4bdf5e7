#include <algorithm>

#include "component/DispSvr.h"

namespace vqloan {

namespace {

// Moves `end`, where a separator stands, behind it. Where the separator is a single blank, a run of blanks is
// one separator.
void skipSeparator(std::u16string_view text, std::u16string_view separator, Int16& end)
{
    while (end <= std::ssize(text) &&
           text.substr(static_cast<std::size_t>(end - 1), separator.size()) == separator) {
        end = Int16(end + std::ssize(separator));
        if (separator != u" ")
            break;
    }
}

} // namespace

std::u16string_view DispSvr::GetField(std::u16string_view& Text, std::u16string_view Sep, Int16& Num,
                                      bool Cut)
{
    if (Num == 0) {
        Num = 1;
        Cut = true;
    }
    Int16 position = 1, count = 0, end = 0;
    while (position <= std::ssize(Text)) {
        ++count;
        const auto found = Text.find(Sep, static_cast<std::size_t>(position - 1));
        if (found == std::u16string_view::npos) {
            end = Int16(std::ssize(Text) + 1);
            break;
        }
        end = Int16(found + 1);
        if (count == Num)
            break;
        skipSeparator(Text, Sep, end);
        position = end;
    }
    if (count != Num)
        return {};
    const auto field =
        Text.substr(static_cast<std::size_t>(position - 1), static_cast<std::size_t>(end - position));
    if (Cut) {
        skipSeparator(Text, Sep, end);
        Text.remove_prefix(std::min(static_cast<std::size_t>(end - 1), Text.size()));
    }
    return field;
}

std::u16string_view DispSvr::GetField(std::u16string_view Text, std::u16string_view Sep, int Num)
{
    Int16 number = Num;
    return GetField(Text, Sep, number, false);
}

} // namespace vqloan
