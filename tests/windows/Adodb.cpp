// A small automation server in ADO's place: it serves the tables of the test network to the statements that
// the component sends, and writes down what it was asked. Connection.Journal gives that, and empties it.
#include <algorithm>
#include <regex>
#include <string>

#include "../Network.h"
#include "Scripted.h"

namespace vqloan::test {
namespace {

std::string journal;

RuntimeError failure(std::int32_t number, const std::u16string& description)
{
    return {number, description, u"Test provider"};
}

Variant cell(const std::string& column, const Value& value)
{
    if (!value)
        return Variant::null();
    Variant text(text::fromUtf8(*value));
    return isDate(column) ? Variant::fromDate(text.toDate()) : text;
}

const Table& tableNamed(const std::string& name)
{
    static const std::vector<Table> tables = network();
    const auto found = std::ranges::find(tables, name, &Table::name);
    if (found == tables.end())
        throw failure(static_cast<std::int32_t>(0x80040E37), u"no table " + text::fromUtf8(name));
    return *found;
}

const Value& valueOf(const Table& table, const std::vector<Value>& row, const std::string& column)
{
    return row.at(static_cast<std::size_t>(std::ranges::find(table.columns, column) - table.columns.begin()));
}

// "... FROM TABLE ... WHERE COLUMN = 'text' AND ... IS NULL", and a library's DESCR joined in.
Table selected(const std::string& statement)
{
    static const std::regex from("FROM (\\w+)"), condition("(\\w+) ?= ?'((?:[^']|'')*)'"), quote("''");
    std::smatch name;
    std::regex_search(statement, name, from);
    Table found = tableNamed(name[1]);
    std::erase_if(found.rows, [&](const auto& row) {
        bool matches =
            statement.find("FLGCHIUSO IS NULL") == statement.npos || !valueOf(found, row, "FLGCHIUSO");
        for (std::sregex_iterator at(statement.begin(), statement.end(), condition), end; at != end; ++at)
            matches =
                matches && valueOf(found, row, (*at)[1]) == std::regex_replace((*at)[2].str(), quote, "'");
        return !matches;
    });
    if (statement.find("LEFT JOIN") != statement.npos) {
        const Table& libraries = tableNamed("TABBIBLIOTECHE");
        for (auto& row : found.rows) {
            const auto library = std::ranges::find_if(libraries.rows, [&](const auto& candidate) {
                return valueOf(libraries, candidate, "CODBIB") == valueOf(found, row, "CODBIB");
            });
            row.push_back(library == libraries.rows.end() ? Value() : valueOf(libraries, *library, "DESCR"));
        }
        found.columns.emplace_back("DESCR");
    }
    return found;
}

struct Rows
{
    Table table;
    std::size_t at = 0;
};

ComPtr<IDispatch> fieldOf(const std::shared_ptr<Rows>& rows, const VARIANT& index)
{
    const std::string name = textOf(&index);
    const auto& columns = rows->table.columns;
    const auto column = index.vt == VT_I4 ? columns.begin() + index.lVal : std::ranges::find(columns, name);
    if (column == columns.end())
        throw failure(3265, u"Item cannot be found in the collection");
    const auto position = static_cast<std::size_t>(column - columns.begin());
    return Scripted::object({{L"Value", [rows, position](auto&) {
                                  const auto& row = rows->table.rows.at(rows->at);
                                  return cell(rows->table.columns[position], row.at(position));
                              }}});
}

ComPtr<IDispatch> makeRecordset()
{
    const auto rows = std::make_shared<Rows>();
    Scripted::Members members =
        noting(journal, "Recordset.",
               {{L"Open", doing([rows](auto& arguments) { *rows = {selected(textOf(arguments.at(0)))}; })},
                {L"Close", doing([](auto&) {})}});
    members.merge(Scripted::Members{
        {L"EOF",
         [rows](auto&) { return Variant(std::int16_t(rows->at < rows->table.rows.size() ? 0 : -1)); }},
        {L"MoveNext", doing([rows](auto&) { ++rows->at; })},
        {L"Fields",
         [rows](auto&) {
             return variantOf(Scripted::object({{L"Item", [rows](auto& arguments) {
                                                     return variantOf(fieldOf(rows, *arguments.at(0)));
                                                 }}}));
         }},
    });
    return Scripted::object(std::move(members));
}

ComPtr<IDispatch> makeConnection()
{
    const auto state = std::make_shared<std::int32_t>(0);
    Scripted::Members members =
        noting(journal, "Connection.",
               {{L"ConnectionTimeout", doing([](auto&) {})},
                {L"CommandTimeout", doing([](auto&) {})},
                {L"CursorLocation", doing([](auto&) {})},
                {L"Open", doing([state](auto& arguments) {
                     if (textOf(arguments.at(0)) == "refuse")
                         throw failure(static_cast<std::int32_t>(0x80004005), u"Accesso rifiutato \u20AC");
                     if (textOf(arguments.at(0)) == "silent")
                         throw failure(static_cast<std::int32_t>(0x80AB1234), u"");
                     *state = 1;
                 })},
                {L"Close", doing([state](auto&) { *state = 0; })}});
    members.merge(Scripted::Members{
        {L"State", [state](auto&) { return Variant(*state); }},
        {L"Journal", [](auto&) { return Variant(text::fromUtf8(std::exchange(journal, std::string()))); }},
    });
    return Scripted::object(std::move(members));
}

} // namespace
} // namespace vqloan::test

using namespace vqloan::test;

// The script that registers this file gives these classes ADO's programmatic identifiers.
extern "C" __declspec(dllexport) HRESULT WINAPI DllGetClassObject(REFCLSID clsid, REFIID iid, void** object)
{
    constexpr unsigned long connectionClass = 0x5E1FA001;
    const auto factory = vqloan::ComPtr<Factory>::adopt(
        new Factory(clsid.Data1 == connectionClass ? makeConnection : makeRecordset));
    return factory->QueryInterface(iid, object);
}

extern "C" __declspec(dllexport) HRESULT WINAPI DllCanUnloadNow()
{
    return S_FALSE;
}
