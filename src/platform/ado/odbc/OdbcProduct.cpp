#include "platform/ado/odbc/OdbcProduct.h"

#include <iterator>
#include <string_view>

namespace vqloan::odbc {

namespace {

constexpr std::u16string_view probe = u"SELECT '\u0127'"; // the character's lower byte is a quote

// The driver manager cuts each character down to a byte for a driver without wide functions, and some become
// quotes then. Only asking shows it.
bool hasWideFunctions(const Database& database)
{
    char16_t returned[64] = {};
    SQLINTEGER length = 0;
    return SQL_SUCCEEDED(SQLNativeSqlW(database.get(), wide(probe.data()),
                                       static_cast<SQLINTEGER>(probe.size()), wide(returned),
                                       static_cast<SQLINTEGER>(std::size(returned)), &length)) &&
           returned == probe;
}

// A connection with a code page of its own would put question marks for what that lacks, and they might be
// found. False also where it cannot be asked so.
bool losesCharacters(const Database& database)
{
    const Statement statement(database.get());
    char16_t returned[8] = {};
    SQLLEN length = 0;
    return SQL_SUCCEEDED(
               SQLExecDirectW(statement.get(), wide(probe.data()), static_cast<SQLINTEGER>(probe.size()))) &&
           SQL_SUCCEEDED(SQLFetch(statement.get())) &&
           SQL_SUCCEEDED(SQLGetData(statement.get(), 1, SQL_C_WCHAR, returned, sizeof returned, &length)) &&
           returned != probe.substr(8, 1);
}

// Drivers that know no time limit take one without a word, or with one, and have none then.
bool keepsTimeLimits(const Database& database)
{
    const Statement statement(database.get());
    constexpr std::uintptr_t limit = 7;
    SQLULEN kept = 0;
    SQLSetStmtAttr(statement.get(), SQL_ATTR_QUERY_TIMEOUT, number(limit), 0);
    return SQL_SUCCEEDED(SQLGetStmtAttr(statement.get(), SQL_ATTR_QUERY_TIMEOUT, &kept, 0, nullptr)) &&
           kept == limit;
}

} // namespace

Product productOf(const Database& database)
{
    char16_t name[64] = {};
    SQLGetInfoW(database.get(), SQL_DBMS_NAME, name, sizeof name, nullptr);
    return {
        // It refuses a compiled statement whose columns would be others now.
        .keepsStatements = std::u16string_view(name) == u"PostgreSQL",
        .takesWideText = hasWideFunctions(database) && !losesCharacters(database),
        .keepsTimeLimits = keepsTimeLimits(database),
    };
}

} // namespace vqloan::odbc
