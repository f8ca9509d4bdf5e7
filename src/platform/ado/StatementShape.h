// What statements have in common that differ only in the values they compare with.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace vqloan {

// Statements arrive as text with their values quoted in it. A provider passes the values as parameters
// instead, so that no value can change a statement and the database compiles each shape once.
//
// Only what surely is a value is taken: in a SELECT, a literal in single quotes that stands to the right of =
// < or >. A statement with anything that databases read differently (a comment, a bracket, a backtick, a
// parameter of its own, a prefixed literal such as x'00', two literals in a row) stays as it is.
class StatementShape
{
public:
    static StatementShape of(std::u16string_view statement);
    // The shape of this statement and no other: nothing in it is a parameter.
    static StatementShape asItIs(std::u16string_view statement);

    // True when the statement has this shape; `literals` then views what stands between the quotes of each
    // value.
    bool matches(std::u16string_view statement, std::vector<std::u16string_view>& literals) const;

    std::size_t parameterCount() const noexcept { return pieces_.size() - 1; }
    // The statement with ? for each value.
    std::u16string withParameters() const;

private:
    std::vector<std::u16string> pieces_; // the text before, between and after the values
};

// The value that a literal stands for: each doubled quote is one.
std::u16string unquoted(std::u16string_view literal);

} // namespace vqloan
