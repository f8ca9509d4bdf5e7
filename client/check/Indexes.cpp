// Whether the questions' statements have indexes to go by, and columns that are compared letter by letter.
#include <algorithm>
#include <map>

#include "Answer.h"
#include "check/Checks.h"
#include "check/Rows.h"
#include "platform/runtime/RuntimeError.h"
#include "platform/runtime/Text.h"
#include "site/Database.h"

namespace vqloan::client {

namespace {

// How a product tells a table's indexes: a row for each column, with the index's name, the column's position,
// and the column's name. A view has none, and its tables' are not looked for. "#" stands for the table's
// name.
struct Catalogue
{
    std::u16string_view product;
    std::u16string_view indexes, views; // the second gives a row for a view
    std::u16string_view loose{}; // a row for each column that takes one letter for another, with its name
};

constexpr Catalogue catalogues[] = {
    {u"SQLite", u"SELECT L.name, C.seqno, C.name FROM pragma_index_list('#') L, pragma_index_info(L.name) C",
     u"SELECT 1 FROM sqlite_master WHERE type = 'view' AND upper(name) = '#'"},
    {u"PostgreSQL",
     u"SELECT X.relname, A.attnum, A.attname FROM pg_index I JOIN pg_class T ON T.oid = I.indrelid "
     u"JOIN pg_class X ON X.oid = I.indexrelid JOIN pg_attribute A ON A.attrelid = X.oid "
     u"WHERE upper(T.relname) = '#' AND pg_table_is_visible(T.oid)",
     u"SELECT 1 FROM pg_class T WHERE T.relkind = 'v' AND upper(T.relname) = '#' AND "
     u"pg_table_is_visible(T.oid)"},
    {u"MariaDB",
     u"SELECT INDEX_NAME, SEQ_IN_INDEX, COLUMN_NAME FROM INFORMATION_SCHEMA.STATISTICS "
     u"WHERE TABLE_SCHEMA = DATABASE() AND upper(TABLE_NAME) = '#'",
     u"SELECT 1 FROM INFORMATION_SCHEMA.TABLES WHERE TABLE_TYPE = 'VIEW' AND TABLE_SCHEMA = DATABASE() "
     u"AND upper(TABLE_NAME) = '#'",
     u"SELECT COLUMN_NAME FROM INFORMATION_SCHEMA.COLUMNS WHERE TABLE_SCHEMA = DATABASE() AND "
     u"upper(TABLE_NAME) = '#' "
     u"AND upper(COLUMN_NAME) IN ('CODBIB', 'INVENTARIO') AND COLLATION_NAME NOT LIKE '%bin'"},
};

constexpr std::u16string_view none = u"NONE";

using Rows = std::vector<std::vector<Variant>>;

std::u16string with(std::u16string_view statement, std::u16string_view table)
{
    std::u16string whole(statement);
    for (auto at = whole.find(u'#'); at != whole.npos; at = whole.find(u'#'))
        whole.replace(at, 1, table);
    return whole;
}

// Whether an index begins with these columns, in any order.
bool serves(const Rows& rows, const std::vector<std::u16string>& columns)
{
    std::map<std::u16string, std::map<std::int32_t, std::u16string>> indexes;
    for (const auto& row : rows)
        indexes[row[0].toText()][row[1].toLong()] = text::upper(row[2].toText());
    return std::ranges::any_of(indexes, [&](const auto& index) {
        std::size_t found = 0;
        for (const auto& [position, column] : index.second) {
            if (std::ranges::find(columns, column) == columns.end())
                break;
            ++found;
        }
        return found >= columns.size();
    });
}

std::u16string stateOf(const std::shared_ptr<Connection>& connection, const Catalogue& catalogue,
                       const site::Table& table)
{
    if (!rowsOf(connection, with(catalogue.views, table.name), 1).empty())
        return u"a view: see its tables";
    const Rows rows = rowsOf(connection, with(catalogue.indexes, table.name), 3);
    return serves(rows, split(table.key, u", ")) ? u"found" : std::u16string(none);
}

const Catalogue* catalogueOf(const std::shared_ptr<Connection>& connection)
{
    for (const Catalogue& catalogue : catalogues)
        try {
            run(connection, with(catalogue.indexes, u"POSSEDUTO"));
            return &catalogue;
        } catch (const RuntimeError&) { // another product's
        }
    return nullptr;
}

} // namespace

void checkIndexes(const std::shared_ptr<Connection>& connection, Report& report)
{
    const Catalogue* const catalogue = catalogueOf(connection);
    report.section(u"Indexes", {u"Table", u"Looked up by", u"State"});
    for (const site::Table& table : site::tables) {
        if (table.key.empty())
            continue;
        const std::u16string name(table.name), key(table.key);
        std::u16string state = u"not known for this database";
        try {
            run(connection, u"SELECT * FROM " + name + u" WHERE 1 = 0");
            if (catalogue)
                state = stateOf(connection, *catalogue, table);
            if (catalogue && !catalogue->loose.empty())
                for (const auto& row : rowsOf(connection, with(catalogue->loose, name), 1))
                    report.finding({u"database", 0, name + u"." + row[0].toText()},
                                   u"It takes e for \u00E8 and X for x: another copy's answer may be given.",
                                   u"Give it a binary collation; docs/databases.md has one.");
        } catch (const RuntimeError&) { // the table is not there, or a right is lacking
        }
        report.fact({name, key, state});
        if (state == none)
            report.finding({u"database", 0, name},
                           u"No index begins with " + key + u": each question reads the whole table.",
                           joined({u"CREATE INDEX ", name, u"_VQLOAN ON ", name, u" (", key, u")"}));
    }
}

} // namespace vqloan::client
