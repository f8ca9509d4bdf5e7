#include <chrono>
#include <cmath>
#include <cstdio>

#include "availability/RecordsetVariable.h"
#include "component/DispSvr.h"
#include "component/RecordError.h"
#include "platform/runtime/Clock.h"
#include "platform/runtime/Numbers.h"
#include "platform/runtime/Text.h"

namespace vqloan {

namespace {

using namespace std::string_view_literals;

constexpr std::u16string_view tab = u"\t";

// Message codes: what the site's texts say of a copy.
namespace message {
constexpr auto noStatusText = u"1"sv;
constexpr auto available = u"2"sv;
constexpr auto overdue = u"3"sv;
constexpr auto onLoan = u"4"sv;
constexpr auto noShelfMark = u"5"sv;
constexpr auto discardedShelfMark = u"6"sv;
constexpr auto reminded = u"7"sv;
constexpr auto noMovementsKept = u"8"sv;
constexpr auto notHeld = u"10"sv;
constexpr auto outOfService = u"11"sv;
} // namespace message

template <class... Pieces> std::u16string join(const Pieces&... pieces)
{
    const auto view = [](std::u16string_view piece) { return piece; };
    std::u16string whole;
    whole.reserve((view(pieces).size() + ...));
    (whole.append(view(pieces)), ...);
    return whole;
}

// The configured part of an inventory number or a library code; length 0 means up to the end.
std::u16string_view part(std::u16string_view whole, std::int16_t start, std::int16_t length)
{
    return length == 0 ? text::mid(whole, start) : text::mid(whole, start, length);
}

// A value as it stands between the quotes of a statement.
std::u16string quoted(std::u16string_view value)
{
    if (value.find(u'\'') == value.npos)
        return std::u16string(value);
    std::u16string safe;
    safe.reserve(2 * value.size());
    for (const char16_t unit : value)
        safe.append(unit == u'\'' ? 2 : 1, unit);
    return safe;
}

bool isPositive(std::u16string_view number)
{
    return numbers::leadingNumber(number) > 0;
}

std::u16string trimmedRight(std::u16string value)
{
    value.resize(text::trimRight(value).size());
    return value;
}

// "DD-MM-YYYY"; the empty text for an empty value.
std::u16string dayMonthYear(const Variant& value)
{
    if (value.get().vt == VT_BSTR && value.toText().empty())
        return {};
    const auto days = std::chrono::days(static_cast<int>(std::trunc(value.toDate())));
    const std::chrono::year_month_day date(std::chrono::sys_days(std::chrono::year(1899) / 12 / 30) + days);
    char digits[32];
    std::snprintf(digits, sizeof digits, "%02u-%02u-%04d", static_cast<unsigned>(date.day()),
                  static_cast<unsigned>(date.month()), static_cast<int>(date.year()));
    return text::fromCodePage(digits);
}

// The library's description in the current row, or its code where there is none.
std::u16string description(const RecordsetVariable& row, std::u16string_view libraryCode)
{
    std::u16string name = row.text(u"DESCR"sv);
    return name.empty() ? std::u16string(libraryCode) : name;
}

std::u16string libraryStatement(std::u16string_view library)
{
    return join(u"SELECT FLGMOVIM, DESCR FROM TABBIBLIOTECHE WHERE CODBIB = '"sv, library, u"'"sv);
}

std::u16string movementsStatement(std::u16string_view library, std::u16string_view inventory)
{
    return join(u"SELECT * FROM MOVIMENTI WHERE CODBIB = '"sv, library, u"' AND INVENTARIO = '"sv, inventory,
                u"' AND FLGCHIUSO IS NULL"sv);
}

std::u16string holdingsStatement(std::u16string_view library, std::u16string_view inventory)
{
    return join(u"SELECT POSSEDUTO.*, TABBIBLIOTECHE.DESCR FROM POSSEDUTO LEFT JOIN TABBIBLIOTECHE "
                u"ON POSSEDUTO.CODBIB = TABBIBLIOTECHE.CODBIB WHERE POSSEDUTO.CODBIB ='"sv,
                library, u"' AND INVENTARIO = '"sv, inventory, u"'"sv);
}

bool keepsNoMovements(const RecordsetVariable& library)
{
    return !library->Eof() && text::upper(library.text(0)) == u"N"; // not trimmed: "N " is another flag
}

// What the record says of an open movement.
std::u16string loanText(const RecordsetVariable& movement, const CodeTable& messages)
{
    const auto text = [&](std::u16string_view code) { return DispSvr::Find_Messa(code, messages); };
    if (isPositive(movement.text(u"LIVSOLL"sv)))
        return join(text(message::reminded), tab, tab);
    if (clock::today() > movement.value(u"DATA_SCAD"sv).toDate())
        return join(text(message::overdue), tab, tab);
    return join(text(message::onLoan), tab, dayMonthYear(movement.value(u"DATA"sv)), tab);
}

} // namespace

// The order of the checks is the order of precedence.
std::u16string DispSvr::Make_LstDispo(std::u16string_view Inv, std::u16string& Bib) noexcept
{
    RecordsetVariable holdings;
    RecordsetVariable movements; // serves the library query first; released before the holdings
    try {
        if (!IsConnected() || Inv.empty())
            return {};
        const auto text = [this](std::u16string_view code) { return Find_Messa(code, TabMessa); };

        const std::u16string inventory = quoted(part(Inv, InvStart, InvLen));
        Bib = part(Bib, BibStart, BibLen); // stays shortened, whatever fails from here on
        const std::u16string library = quoted(Bib);

        movements.open(libraryStatement(library), Conn);
        if (keepsNoMovements(movements))
            return join(description(movements, Bib), tab, text(message::noMovementsKept), tab, tab);

        movements.release();
        movements.open(movementsStatement(library, inventory), Conn);
        holdings.open(holdingsStatement(library, inventory), Conn);
        if (holdings->Eof())
            return join(tab, text(message::notHeld), tab, tab);

        std::u16string record = description(holdings, Bib) + u'\t';
        const std::u16string status = trimmedRight(holdings.text(u"STATO"sv));
        const bool outOfService = text::upper(text::trimRight(holdings.text(u"FLGSERV"sv))) == u"N";
        const std::u16string shelfMark = trimmedRight(holdings.text(u"COLLOCAZIONE"sv));

        record += tab;
        if (outOfService || isPositive(status)) {
            const auto reason = outOfService ? text(message::outOfService) : Find_Messa(status, TabStati);
            if (!reason.empty())
                return join(record, reason, tab, tab);
            record += text(message::noStatusText); // directly in front of whatever else is found
        }
        if (text::upper(shelfMark.substr(0, 3)) == u"SC ")
            return join(record, text(message::discardedShelfMark), tab);
        if (shelfMark.empty())
            return join(record, text(message::noShelfMark), tab);
        if (!movements->Eof())
            return record + loanText(movements, TabMessa);
        return join(record, text(message::available), tab);
    } catch (...) {
        recordFailure(longSource, u".Make_LstDispo, ");
        return {failureMarker};
    }
}

} // namespace vqloan
