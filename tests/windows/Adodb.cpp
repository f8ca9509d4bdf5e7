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

void note(const std::string& line)
{
    journal += line + "\n";
}

RuntimeError failure(std::int32_t number, const std::u16string& description)
{
    return {number, description, u"Test provider"};
}

Variant dateOf(const std::string& text)
{
    SYSTEMTIME time{};
    time.wYear = static_cast<WORD>(std::stoi(text));
    time.wMonth = static_cast<WORD>(std::stoi(text.substr(5)));
    time.wDay = static_cast<WORD>(std::stoi(text.substr(8)));
    if (text.size() > 11) {
        time.wHour = static_cast<WORD>(std::stoi(text.substr(11)));
        time.wMinute = static_cast<WORD>(std::stoi(text.substr(14)));
        time.wSecond = static_cast<WORD>(std::stoi(text.substr(17)));
    }
    double days = 0;
    SystemTimeToVariantTime(&time, &days);
    return Variant::fromDate(days);
}

Variant cell(const std::string& column, const Value& value)
{
    if (!value)
        return Variant::null();
    return isDate(column) ? dateOf(*value) : Variant(text::fromUtf8(*value));
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
    std::smatch from;
    std::regex_search(statement, from, std::regex("FROM (\\w+)"));
    const Table& table = tableNamed(from[1]);
    Table found{table.name, table.columns, {}};
    const bool joined = statement.find("LEFT JOIN") != std::string::npos;
    if (joined)
        found.columns.emplace_back("DESCR");

    const std::regex condition("(\\w+) ?= ?'((?:[^']|'')*)'");
    for (std::vector<Value> row : table.rows) {
        bool matches =
            statement.find("FLGCHIUSO IS NULL") == std::string::npos || !valueOf(table, row, "FLGCHIUSO");
        for (std::sregex_iterator at(statement.begin(), statement.end(), condition), end; at != end; ++at) {
            const std::string wanted = std::regex_replace((*at)[2].str(), std::regex("''"), "'");
            matches = matches && valueOf(table, row, (*at)[1]) == wanted;
        }
        if (!matches)
            continue;
        if (joined) {
            const Table& libraries = tableNamed("TABBIBLIOTECHE");
            const auto library = std::ranges::find_if(libraries.rows, [&](const auto& candidate) {
                return candidate[0] == valueOf(table, row, "CODBIB");
            });
            row.push_back(library == libraries.rows.end() ? Value() : (*library)[2]);
        }
        found.rows.push_back(std::move(row));
    }
    if (const auto list = statement.find("SELECT FLGMOVIM, DESCR"); list == 0)
        for (found.columns = {"FLGMOVIM", "DESCR"}; auto& row : found.rows)
            row.erase(row.begin());
    return found;
}

struct Rows
{
    Table table;
    std::size_t at = 0;
};

ComPtr<IDispatch> fieldOf(const std::shared_ptr<Rows>& rows, const VARIANT& index)
{
    const std::string name = text::toUtf8(Variant::copyOf(index).toText());
    const auto& columns = rows->table.columns;
    const auto column = index.vt == VT_I4 ? columns.begin() + index.lVal : std::ranges::find(columns, name);
    if (column == columns.end())
        throw failure(3265, u"Item cannot be found in the collection");
    const auto position = static_cast<std::size_t>(column - columns.begin());
    return Scripted::object({{L"Value", [rows, position](const Scripted::Arguments&) {
                                  const auto& row = rows->table.rows.at(rows->at);
                                  return cell(rows->table.columns[position], row.at(position));
                              }}});
}

ComPtr<IDispatch> makeRecordset()
{
    const auto rows = std::make_shared<Rows>();
    using Arguments = Scripted::Arguments;
    return Scripted::object({
        {L"Open",
         [rows](const Arguments& arguments) {
             note("Recordset.Open " + shown(arguments));
             rows->table = selected(text::toUtf8(Variant::copyOf(*arguments.at(0)).toText()));
             rows->at = 0;
             return Variant();
         }},
        {L"Close",
         [](const Arguments&) {
             note("Recordset.Close");
             return Variant();
         }},
        {L"EOF",
         [rows](const Arguments&) {
             return Variant(std::int16_t(rows->at < rows->table.rows.size() ? 0 : -1));
         }},
        {L"MoveNext",
         [rows](const Arguments&) {
             ++rows->at;
             return Variant();
         }},
        {L"Fields",
         [rows](const Arguments&) {
             return variantOf(Scripted::object({{L"Item", [rows](const Arguments& arguments) {
                                                     return variantOf(fieldOf(rows, *arguments.at(0)));
                                                 }}}));
         }},
    });
}

ComPtr<IDispatch> makeConnection()
{
    const auto state = std::make_shared<std::int32_t>(0);
    using Arguments = Scripted::Arguments;
    const auto noted = [](const std::string& name) {
        return [name](const Arguments& arguments) {
            note(name + " " + shown(arguments));
            return Variant();
        };
    };
    return Scripted::object({
        {L"ConnectionTimeout", noted("ConnectionTimeout")},
        {L"CommandTimeout", noted("CommandTimeout")},
        {L"CursorLocation", noted("CursorLocation")},
        {L"Open",
         [state](const Arguments& arguments) {
             note("Connection.Open " + shown(arguments));
             if (Variant::copyOf(*arguments.at(0)).toText() == u"refuse")
                 throw failure(static_cast<std::int32_t>(0x80004005), u"Accesso rifiutato \u20AC");
             *state = 1;
             return Variant();
         }},
        {L"Close",
         [state](const Arguments&) {
             note("Connection.Close");
             *state = 0;
             return Variant();
         }},
        {L"State", [state](const Arguments&) { return Variant(*state); }},
        {L"Journal",
         [](const Arguments&) { return Variant(text::fromUtf8(std::exchange(journal, std::string()))); }},
    });
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
