#include <chrono>
#include <cmath>
#include <cstdio>

#include "availability/RecordsetVariable.h"
#include "component/DispSvr.h"
#include "component/RecordError.h"
#include "platform/runtime/Clock.h"
#include "platform/runtime/Numbers.h"
#include "platform/runtime/Text.h"
#include "site/Messages.h"

namespace vqloan {

namespace {

using namespace std::string_view_literals;

using site::Message;
using site::tab;

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

// A value with its quotes doubled, as it is put between the quotes of a statement.
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

// "DD-MM-YYYY"; the empty text for an empty value, whether that is a text or no value at all.
std::u16string dayMonthYear(const Variant& value)
{
    const VARTYPE type = value.get().vt;
    if (type == VT_EMPTY || (type == VT_BSTR && value.toText().empty()))
        return {};
    const auto days = std::chrono::days(static_cast<int>(std::trunc(value.toDate())));
    const std::chrono::year_month_day date(clock::dayZero + days);
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
    const auto text = [&](Message message) { return DispSvr::Find_Messa(codeOf(message), messages); };
    if (isPositive(movement.text(u"LIVSOLL"sv)))
        return join(text(Message::reminded), tab, tab);
    if (clock::today() > movement.value(u"DATA_SCAD"sv).toDate())
        return join(text(Message::overdue), tab, tab);
    return join(text(Message::onLoan), tab, dayMonthYear(movement.value(u"DATA"sv)), tab);
}

} // namespace

// The order of the checks decides what wins where several situations apply.
std::u16string DispSvr::Make_LstDispo(std::u16string_view Inv, std::u16string& Bib) noexcept
{
    if (!IsConnected() || Inv.empty())
        return {};
    RecordsetVariable holdings;
    RecordsetVariable movements; // the library query's, too; released before the holdings
    try {
        const auto text = [this](Message message) { return Find_Messa(codeOf(message), TabMessa); };

        const std::u16string inventory = quoted(part(Inv, InvStart, InvLen));
        Bib = part(Bib, BibStart, BibLen); // stays so whatever fails from here on
        const std::u16string library = quoted(Bib);

        movements.open(libraryStatement(library), Conn);
        if (keepsNoMovements(movements))
            return join(description(movements, Bib), tab, text(Message::noMovementsKept), tab, tab);

        movements.release();
        movements.open(movementsStatement(library, inventory), Conn);
        holdings.open(holdingsStatement(library, inventory), Conn);
        if (holdings->Eof())
            return join(tab, text(Message::notHeld), tab, tab);

        std::u16string record = description(holdings, Bib) + u'\t';
        const std::u16string status = trimmedRight(holdings.text(u"STATO"sv));
        const bool outOfService = text::upper(text::trimRight(holdings.text(u"FLGSERV"sv))) == u"N";
        const std::u16string shelfMark = trimmedRight(holdings.text(u"COLLOCAZIONE"sv));

        record += tab;
        if (outOfService || isPositive(status)) {
            const auto reason = outOfService ? text(Message::outOfService) : Find_Messa(status, TabStati);
            if (!reason.empty())
                return join(record, reason, tab, tab);
            record += text(Message::noStatusText); // stands directly in front of the text below
        }
        if (text::upper(shelfMark.substr(0, 3)) == u"SC ")
            return join(record, text(Message::readingRoom), tab);
        if (shelfMark.empty())
            return join(record, text(Message::noShelfMark), tab);
        if (!movements->Eof())
            return record + loanText(movements, TabMessa);
        return join(record, text(Message::available), tab);
    } catch (...) {
        recordFailure(longSource, u".Make_LstDispo, ");
        return {site::failureMarker};
    }
}

} // namespace vqloan
