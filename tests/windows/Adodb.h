// A stand-in for ADO: every table has one row at most, whatever is looked for. It writes down what it is
// asked.
#pragma once

#include <algorithm>
#include <cmath>

#include "Scripted.h"

namespace vqloan::test {

class Adodb
{
public:
    std::string calls() { return std::exchange(*journal_, std::string()); }

private:
    using Row = std::vector<std::pair<std::string, Variant>>;
    struct Rows
    {
        Row row;
        bool isEnd = true;
    };

    static Variant day(double fromToday)
    {
        VARIANT now;
        now.vt = VT_DATE;
        SYSTEMTIME today;
        GetLocalTime(&today);
        SystemTimeToVariantTime(&today, &now.date);
        return Variant::fromDate(std::floor(now.date) + fromToday);
    }
    static RuntimeError failure(HRESULT number, const char16_t* text)
    {
        return {number, text, u"Test provider"};
    }

    static Row rowFor(const std::string& statement)
    {
        const Variant null = Variant::null();
        const std::map<std::string, Row> tables{
            {"TABBLOCCOMAT", {{"CODBLOCMAT", Variant(u"1")}, {"MESSAGGIO", Variant(u"In restauro")}}},
            {"TABBIBLIOTECHE", {{"FLGMOVIM", null}, {"DESCR", Variant(u"Civica")}}},
            {"MOVIMENTI", {{"LIVSOLL", null}, {"DATA_SCAD", day(1)}, {"DATA", Variant::fromDate(45351)}}},
            {"POSSEDUTO",
             {{"STATO", Variant(std::int32_t{0})},
              {"FLGSERV", null},
              {"COLLOCAZIONE", Variant(u"A 1")},
              {"DESCR", Variant(u"Civica")}}}};
        const auto name = statement.substr(statement.find("FROM ") + 5);
        const auto found = tables.find(name.substr(0, name.find(' ')));
        if (found == tables.end())
            throw failure(static_cast<HRESULT>(0x80040E37), u"no such table");
        return found->second;
    }

    static Variant fieldOf(const Row& row, const VARIANT& index)
    {
        const auto found = index.vt == VT_I4
                               ? row.begin() + index.lVal
                               : std::ranges::find(row, textOf(&index), &Row::value_type::first);
        if (found == row.end())
            throw failure(3265, u"Item cannot be found in the collection");
        return variantOf(Scripted::object({{L"Value", [value = found->second](auto&) { return value; }}}));
    }

    ComPtr<IDispatch> recordset() const
    {
        const auto rows = std::make_shared<Rows>();
        Scripted::Members members = noting(*journal_, "Recordset.",
                                           {{L"Open", doing([rows](auto& a) {
                                                 *rows = {rowFor(textOf(a.at(0))), false};
                                             })},
                                            {L"Close", doing([](auto&) {})}});
        members.merge(Scripted::Members{
            {L"EOF", [rows](auto&) { return Variant(std::int16_t(rows->isEnd ? -1 : 0)); }},
            {L"MoveNext", doing([rows](auto&) { rows->isEnd = true; })},
            {L"Fields", [rows](auto&) {
                 return variantOf(
                     Scripted::object({{L"Item", [rows](auto& a) { return fieldOf(rows->row, *a.at(0)); }}}));
             }}});
        return Scripted::object(std::move(members));
    }

    ComPtr<IDispatch> connection() const
    {
        const auto state = std::make_shared<std::int32_t>(0);
        const auto ignored = doing([](auto&) {});
        Scripted::Members members = noting(*journal_, "Connection.",
                                           {{L"ConnectionTimeout", ignored},
                                            {L"CommandTimeout", ignored},
                                            {L"CursorLocation", ignored},
                                            {L"Open", doing([state](auto& a) {
                                                 if (textOf(a.at(0)) == "refuse")
                                                     throw failure(E_FAIL, u"Accesso rifiutato \u20AC");
                                                 if (textOf(a.at(0)) == "silent")
                                                     throw failure(static_cast<HRESULT>(0x80AB1234), u"");
                                                 *state = 1;
                                             })},
                                            {L"Close", doing([state](auto&) { *state = 0; })}});
        members.emplace(L"State", [state](auto&) { return Variant(*state); });
        return Scripted::object(std::move(members));
    }

    static CLSID classNamed(const wchar_t* name)
    {
        CLSID found{};
        CLSIDFromProgID(name, &found);
        return found;
    }

    const std::unique_ptr<std::string> journal_ = std::make_unique<std::string>();
    const ClassObject connections_{classNamed(L"ADODB.Connection"), [this] { return connection(); }},
        recordsets_{classNamed(L"ADODB.Recordset"), [this] { return recordset(); }};
};

} // namespace vqloan::test
