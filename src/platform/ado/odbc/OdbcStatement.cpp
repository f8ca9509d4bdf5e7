#include "platform/ado/odbc/OdbcStatement.h"

#include <algorithm>

#include "platform/ado/odbc/OdbcFailure.h"
#include "platform/ado/odbc/OdbcResult.h"
#include "platform/runtime/Text.h"

namespace vqloan {

std::u16string sentValue(std::u16string_view literal)
{
    std::u16string value = unquoted(literal);
    std::replace(value.begin(), value.end(), u'\0', u'\uFFFD');
    if (std::any_of(value.begin(), value.end(), text::isSurrogate))
        value = text::fromUtf8(text::toUtf8(value));
    return value;
}

OdbcStatement::OdbcStatement(const odbc::Database& database, StatementShape shape,
                             const odbc::Product& product)
    : shape_(std::move(shape)), handle_(database.get()), product_(product), values_(shape_.parameterCount()),
      narrow_(shape_.parameterCount()), lengths_(shape_.parameterCount())
{
    if (!product_.keepsStatements)
        return; // compiled when it runs: drivers that do both at once save a round trip
    std::u16string text = shape_.withParameters();
    odbc::check(SQLPrepareW(handle_.get(), odbc::wide(text.data()), static_cast<SQLINTEGER>(text.size())),
                handle_);
}

CursorOwner OdbcStatement::run(const std::vector<std::u16string_view>& literals, std::int32_t timeLimit)
{
    // Whatever happens, the next run must find the cursor closed.
    struct Closing
    {
        SQLHANDLE statement;
        ~Closing() { SQLFreeStmt(statement, SQL_CLOSE); }
    };
    limitTime(timeLimit);
    bind(literals);
    const Closing closing{handle_.get()};
    const SQLRETURN result = execute();
    if (result != SQL_NO_DATA)
        odbc::check(result, handle_);
    if (!columns_)
        columns_ = std::make_shared<const OdbcColumns>(handle_);
    return CursorOwner(new OdbcResult(handle_, columns_));
}

SQLRETURN OdbcStatement::execute()
{
    if (product_.keepsStatements)
        return SQLExecute(handle_.get());
    std::u16string text = shape_.withParameters();
    return SQLExecDirectW(handle_.get(), odbc::wide(text.data()), static_cast<SQLINTEGER>(text.size()));
}

// Values go as narrow text, which is what a literal in the statement is to the server: it compares them with
// a column as it would compare the literal, blanks at the end of a CHAR column included.
void OdbcStatement::bind(const std::vector<std::u16string_view>& literals)
{
    for (std::size_t i = 0; i < values_.size(); ++i) {
        values_[i] = sentValue(literals[i]);
        SQLPOINTER value = values_[i].data();
        std::size_t bytes = values_[i].size() * sizeof(char16_t);
        if (!product_.takesWideText) {
            narrow_[i] = text::toUtf8(values_[i]);
            value = narrow_[i].data();
            bytes = narrow_[i].size();
        }
        lengths_[i] = static_cast<SQLLEN>(bytes);
        odbc::check(SQLBindParameter(handle_.get(), static_cast<SQLUSMALLINT>(i + 1), SQL_PARAM_INPUT,
                                     product_.takesWideText ? SQL_C_WCHAR : SQL_C_CHAR, SQL_VARCHAR,
                                     std::max<std::size_t>(values_[i].size(), 1), 0, value, lengths_[i],
                                     &lengths_[i]),
                    handle_);
    }
}

void OdbcStatement::limitTime(std::int32_t seconds) noexcept
{
    if (seconds == timeLimit_)
        return;
    timeLimit_ = seconds;
    // A driver that knows no time limit says so here, and the statement runs without.
    SQLSetStmtAttr(handle_.get(), SQL_ATTR_QUERY_TIMEOUT, odbc::number(static_cast<std::uintptr_t>(seconds)),
                   0);
}

} // namespace vqloan
