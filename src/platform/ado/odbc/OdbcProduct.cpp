#include "platform/ado/odbc/OdbcProduct.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace vqloan::odbc {

namespace {

struct Known
{
    std::u16string_view name;
    bool keepsStatements, keepsColumns;
};
constexpr Known knownProducts[] = {
    // Refuses a compiled statement whose columns would be others now.
    {u"PostgreSQL", true, true},
    // Its driver goes on telling the columns as they were when the statement was compiled, whatever becomes
    // of the table. Compiling anew costs it no round trip.
    {u"SQLite", false, false},
};

// The driver manager cuts each character down to a byte for a driver without wide functions, and some become
// quotes then. Only asking shows it.
bool takesWideText(const Database& database)
{
    constexpr std::u16string_view probe = u"SELECT '\u0127'"; // its lower byte is a quote
    char16_t returned[64] = {};
    SQLINTEGER length = 0;
    return SQL_SUCCEEDED(SQLNativeSqlW(database.get(), wide(probe.data()),
                                       static_cast<SQLINTEGER>(probe.size()), wide(returned),
                                       static_cast<SQLINTEGER>(std::size(returned)), &length)) &&
           returned == probe;
}

} // namespace

Product productOf(const Database& database)
{
    Product product;
    char16_t name[64] = {};
    SQLGetInfoW(database.get(), SQL_DBMS_NAME, name, sizeof name, nullptr);
    const auto known = std::find_if(std::begin(knownProducts), std::end(knownProducts),
                                    [&](const Known& one) { return one.name == name; });
    if (known != std::end(knownProducts)) {
        product.keepsStatements = known->keepsStatements;
        product.keepsColumns = known->keepsColumns;
    }
    product.takesWideText = takesWideText(database);
    return product;
}

} // namespace vqloan::odbc
