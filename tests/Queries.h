// Connections and queries as the component makes them, and the failures that databases have in common.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "external/Ado.h"
#include "platform/runtime/Text.h"

namespace vqloan::test {

inline constexpr auto connectionFailed = static_cast<std::int32_t>(0x80004005);
inline constexpr auto statementFailed = static_cast<std::int32_t>(0x80040E14);
inline constexpr auto timeLimitPassed = static_cast<std::int32_t>(0x80040E31);

inline std::shared_ptr<Connection> open(const std::string& text, const std::string& user = {},
                                        const std::string& password = {}, std::int32_t timeout = 5)
{
    auto connection = createConnection();
    connection->ConnectionTimeout(timeout);
    connection->Open(text::fromUtf8(text), text::fromUtf8(user), text::fromUtf8(password), -1);
    return connection;
}

inline std::unique_ptr<Recordset> query(const std::shared_ptr<Connection>& connection,
                                        const std::string& statement)
{
    auto rows = createRecordset();
    rows->Open(text::fromUtf8(statement), connection, ado::cursorDynamic, ado::lockReadOnly,
               ado::commandText);
    return rows;
}

// The first column of the first row.
inline Variant first(const std::shared_ptr<Connection>& connection, const std::string& statement)
{
    return query(connection, statement)->Item(0).Value();
}

// A value as tables of cases write it: its type and its text, a date as its day's number.
inline std::string typeAndText(const Variant& value)
{
    static const std::map<VARTYPE, std::string> types{
        {VT_I4, "long "}, {VT_I8, "long long "}, {VT_R8, "double "}, {VT_DATE, "date "}, {VT_BSTR, "text "}};
    const VARTYPE type = value.get().vt;
    if (type == VT_NULL)
        return "null";
    return types.at(type) + text::toUtf8((type == VT_DATE ? Variant(value.toDate()) : value).toText());
}

} // namespace vqloan::test
