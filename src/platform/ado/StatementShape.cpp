#include "platform/ado/StatementShape.h"

#include <algorithm>
#include <iterator>

#include "platform/runtime/Text.h"

namespace vqloan {

namespace {

using namespace std::string_view_literals;

constexpr std::size_t npos = std::u16string_view::npos;
constexpr std::u16string_view whiteSpace = u" \t\r\n";

// Where a statement may turn into something else than words, signs and numbers.
constexpr std::u16string_view special = u"'\"-/[`?:@$#\\;\0"sv;
// More values than this stay in the text: databases bound the number of parameters.
constexpr std::size_t parameterLimit = 100;

bool isWordCharacter(char16_t c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') || c == u'_' ||
           c > 127;
}

// Position of the quote that ends what the quote at `opening` begins; npos when there is none.
std::size_t closingQuote(std::u16string_view text, std::size_t opening)
{
    const char16_t quote = text[opening];
    for (std::size_t at = text.find(quote, opening + 1); at != npos; at = text.find(quote, at + 2)) {
        if (at + 1 == text.size() || text[at + 1] != quote)
            return at;
    }
    return npos;
}

bool isSelect(std::u16string_view statement)
{
    const std::size_t start = statement.find_first_not_of(whiteSpace);
    return start != npos && text::equalsIgnoringCase(statement.substr(start, 6), u"SELECT") &&
           start + 6 < statement.size() && !isWordCharacter(statement[start + 6]);
}

bool endsInComparison(std::u16string_view text)
{
    static constexpr std::u16string_view comparisons[] = {u"=", u"==", u"<",  u"<=",
                                                          u">", u">=", u"<>", u"!="};
    text = text.substr(0, text.find_last_not_of(whiteSpace) + 1);
    const std::u16string_view sign = text.substr(text.find_last_not_of(u"=<>!-+*/|&%~^") + 1);
    return std::find(std::begin(comparisons), std::end(comparisons), sign) != std::end(comparisons);
}

bool isValue(std::u16string_view before, std::u16string_view after)
{
    const std::size_t next = after.find_first_not_of(whiteSpace);
    return endsInComparison(before) &&
           (next == npos || after[next] == u')' || (next > 0 && isWordCharacter(after[next])));
}

// Where the values stand, quotes included; nothing for a statement that must stay as it is.
struct Span
{
    std::size_t begin, end;
};
std::vector<Span> valuesOf(std::u16string_view statement)
{
    if (!isSelect(statement))
        return {};
    std::vector<Span> values;
    for (std::size_t at = 0; (at = statement.find_first_of(special, at)) != npos;) {
        const char16_t found = statement[at];
        if (found == u'-' || found == u'/') {
            const char16_t second = found == u'-' ? u'-' : u'*';
            if (at + 1 < statement.size() && statement[at + 1] == second)
                return {};
            ++at;
            continue;
        }
        if (found != u'\'' && found != u'"')
            return {};
        const std::size_t closing = closingQuote(statement, at);
        const bool prefixed = at > 0 && (isWordCharacter(statement[at - 1]) || statement[at - 1] == u'&');
        if (closing == npos || prefixed)
            return {};
        if (found == u'\'') {
            const std::u16string_view after = statement.substr(closing + 1);
            const std::size_t next = after.find_first_not_of(whiteSpace);
            if (next != npos && after[next] == u'\'')
                return {};
            if (values.size() < parameterLimit && isValue(statement.substr(0, at), after))
                values.push_back({at, closing + 1});
        }
        at = closing + 1;
    }
    return values;
}

} // namespace

StatementShape StatementShape::of(std::u16string_view statement)
{
    StatementShape shape;
    std::size_t from = 0;
    for (const Span& value : valuesOf(statement)) {
        shape.pieces_.emplace_back(statement.substr(from, value.begin - from));
        from = value.end;
    }
    shape.pieces_.emplace_back(statement.substr(from));
    return shape;
}

StatementShape StatementShape::asItIs(std::u16string_view statement)
{
    StatementShape shape;
    shape.pieces_.emplace_back(statement);
    return shape;
}

// Comparing the pieces says the same as dividing the statement would: up to a value's opening quote both
// texts are equal, and so is what follows its closing one.
bool StatementShape::matches(std::u16string_view statement, std::vector<std::u16string_view>& literals) const
{
    literals.clear();
    for (std::size_t i = 0; i < parameterCount(); ++i) {
        const std::u16string& piece = pieces_[i];
        if (statement.size() <= piece.size() || statement[piece.size()] != u'\'' ||
            !text::equals(statement.substr(0, piece.size()), piece))
            return false;
        const std::size_t closing = closingQuote(statement, piece.size());
        if (closing == npos)
            return false;
        literals.push_back(statement.substr(piece.size() + 1, closing - piece.size() - 1));
        statement.remove_prefix(closing + 1);
    }
    return text::equals(statement, pieces_.back());
}

std::u16string StatementShape::withParameters() const
{
    std::u16string statement = pieces_.front();
    for (std::size_t i = 1; i < pieces_.size(); ++i)
        statement.append(u"?").append(pieces_[i]);
    return statement;
}

std::u16string unquoted(std::u16string_view literal)
{
    std::u16string value(literal);
    for (std::size_t at = value.find(u"''"); at != npos; at = value.find(u"''", at + 1))
        value.erase(at, 1);
    return value;
}

} // namespace vqloan
