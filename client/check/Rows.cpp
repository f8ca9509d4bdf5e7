#include "check/Rows.h"

#include <optional>

#include "check/Checks.h"
#include "platform/runtime/RuntimeError.h"
#include "platform/runtime/Text.h"

namespace vqloan::client {

namespace {

std::unique_ptr<Recordset> open(const std::shared_ptr<Connection>& connection, std::u16string_view statement)
{
    auto rows = createRecordset();
    rows->Open(statement, connection, ado::cursorDynamic, ado::lockReadOnly, ado::commandText);
    return rows;
}

} // namespace

void run(const std::shared_ptr<Connection>& connection, std::u16string_view statement)
{
    open(connection, statement)->Close();
}

std::vector<std::vector<Variant>> rowsOf(const std::shared_ptr<Connection>& connection,
                                         std::u16string_view statement, std::size_t columns)
{
    const auto rows = open(connection, statement);
    std::vector<std::vector<Variant>> found;
    for (; !rows->Eof(); rows->MoveNext()) {
        found.emplace_back();
        for (std::size_t column = 0; column < columns; ++column)
            found.back().push_back(rows->Item(static_cast<std::int32_t>(column)).Value());
    }
    return found;
}

std::vector<std::vector<Variant>> someRows(const std::shared_ptr<Connection>& connection,
                                           std::u16string_view columns, std::size_t columnCount,
                                           std::u16string_view from, std::size_t most)
{
    const std::u16string count = text::decimal(static_cast<std::int64_t>(most));
    const std::u16string rest = std::u16string(columns) + u" FROM " + std::u16string(from);
    std::optional<RuntimeError> refusal;
    for (const std::u16string& statement :
         {joined({u"SELECT ", rest, u" LIMIT ", count}), joined({u"SELECT TOP ", count, u" ", rest}),
          joined({u"SELECT ", rest, u" FETCH FIRST ", count, u" ROWS ONLY"})}) {
        try {
            return rowsOf(connection, statement, columnCount);
        } catch (const RuntimeError& error) {
            if (!refusal)
                refusal = error;
        }
    }
    throw *refusal;
}

} // namespace vqloan::client
