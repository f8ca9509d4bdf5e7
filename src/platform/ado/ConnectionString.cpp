#include "platform/ado/ConnectionString.h"

#include <algorithm>

#include "platform/ado/AdoFailure.h"
#include "platform/runtime/Text.h"

namespace vqloan {

namespace {

constexpr std::u16string_view blanks = u" \t\r\n";
// With these in front a value means something else than it says.
constexpr std::u16string_view startsOtherwise = u" \t\r\n\"'=";

std::u16string_view withoutTrailingBlanks(std::u16string_view text)
{
    return text.substr(0, text.find_last_not_of(blanks) + 1);
}

class Parser
{
public:
    Parser(std::u16string_view text, ConnectionString::Placeholders placeholders)
        : text_(text), mayStandAlone_(placeholders == ConnectionString::Placeholders::mayStandAlone)
    {}

    std::vector<ConnectionString::Pair> pairs()
    {
        std::vector<ConnectionString::Pair> found;
        for (skipBlanks(); at_ < text_.size(); skipBlanks()) {
            if (text_[at_] == u';') {
                ++at_;
                continue;
            }
            if (const std::u16string_view alone = readPlaceholder(); !alone.empty()) {
                found.push_back({{}, std::u16string(alone)});
                continue;
            }
            std::u16string key = readKey();
            found.push_back({std::move(key), readValue()});
        }
        return found;
    }

private:
    // A part that is one placeholder; empty where there is none.
    std::u16string_view readPlaceholder()
    {
        const std::size_t end = std::min(text_.find(u';', at_), text_.size());
        const std::u16string_view part = withoutTrailingBlanks(text_.substr(at_, end - at_));
        if (!mayStandAlone_ || part.front() != placeholderSign ||
            part.find(placeholderSign, 1) != part.size() - 1)
            return {};
        at_ = end;
        return part;
    }

    std::u16string readKey()
    {
        const std::size_t end = text_.find_first_of(u"=;", at_);
        if (end == text_.npos || text_[end] == u';')
            fail(u"no '=' follows the key");
        const std::u16string_view key = withoutTrailingBlanks(text_.substr(at_, end - at_));
        if (key.empty())
            fail(u"a value has no key");
        at_ = end + 1;
        return std::u16string(key);
    }

    std::u16string readValue()
    {
        skipBlanks();
        if (at_ < text_.size()) {
            const char16_t opening = text_[at_];
            if (opening == u'\'' || opening == u'"')
                return readEnclosed(opening);
            if (opening == u'{')
                return readEnclosed(u'}');
        }
        const std::size_t end = std::min(text_.find(u';', at_), text_.size());
        const std::u16string_view value = withoutTrailingBlanks(text_.substr(at_, end - at_));
        at_ = end;
        return std::u16string(value);
    }

    std::u16string readEnclosed(char16_t closing)
    {
        std::u16string value;
        for (std::size_t i = at_ + 1; i < text_.size(); ++i) {
            if (text_[i] == closing) {
                if (i + 1 == text_.size() || text_[i + 1] != closing) {
                    at_ = i + 1;
                    expectEndOfPair();
                    return value;
                }
                ++i;
            }
            value += text_[i];
        }
        fail(u"a quoted value has no end");
    }

    void expectEndOfPair()
    {
        skipBlanks();
        if (at_ < text_.size() && text_[at_] != u';')
            fail(u"text follows a quoted value");
    }

    void skipBlanks() { at_ = std::min(text_.find_first_not_of(blanks, at_), text_.size()); }

    [[noreturn]] void fail(const char16_t* what) const
    {
        throw RuntimeError(ado::malformedConnectionText,
                           std::u16string(u"The connection text is malformed at position ") +
                               text::decimal(static_cast<std::int64_t>(at_) + 1) + u": " + what + u".",
                           std::u16string(ado::connectionSource));
    }

    std::u16string_view text_;
    std::size_t at_ = 0;
    bool mayStandAlone_;
};

} // namespace

ConnectionString::ConnectionString(std::u16string_view text, Placeholders placeholders)
    : pairs_(Parser(text, placeholders).pairs())
{}

const std::u16string* ConnectionString::find(std::u16string_view key) const
{
    const auto found = std::find_if(pairs_.rbegin(), pairs_.rend(), [key](const Pair& pair) {
        return text::equalsIgnoringCase(pair.key, key);
    });
    return found == pairs_.rend() ? nullptr : &found->value;
}

std::u16string enclosed(std::u16string_view value)
{
    const bool isPlain = value.empty() || (value.find_first_of(u";{}") == value.npos &&
                                           startsOtherwise.find(value.front()) == value.npos &&
                                           blanks.find(value.back()) == value.npos);
    if (isPlain)
        return std::u16string(value);
    std::u16string text = u"{";
    for (const char16_t c : value)
        text.append(c == u'}' ? 2 : 1, c);
    return text + u"}";
}

} // namespace vqloan
