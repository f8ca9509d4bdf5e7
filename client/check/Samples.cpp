// Some rows of the database, read as a question reads them.
#include <algorithm>
#include <chrono>

#include "check/Checks.h"
#include "check/Rows.h"
#include "component/DispSvr.h"
#include "platform/runtime/Clock.h"
#include "platform/runtime/RuntimeError.h"
#include "platform/runtime/Text.h"
#include "site/Database.h"
#include "site/Messages.h"
#include "site/Texts.h"

namespace vqloan::client {

namespace {

using site::Message;

constexpr std::size_t mostCopies = 50, mostLoans = 200;
// A reader at a desk would not wait longer.
constexpr std::chrono::milliseconds slow(1000);
// No more copies are tried after that.
constexpr std::chrono::seconds longest(10);

// Of a statement's rows.
struct Column
{
    std::size_t at;
    std::u16string_view name;
};

bool isText(const Variant& value)
{
    return value.get().vt == VT_BSTR;
}
bool isNumber(const Variant& value)
{
    return !isText(value) && !value.isNull() && !value.isEmpty() && value.get().vt != VT_DATE;
}

// "2026-11-23", whatever follows.
bool isIsoDate(std::u16string_view text)
{
    constexpr std::u16string_view form = u"0000-00-00";
    return text.size() >= form.size() &&
           std::ranges::equal(text.substr(0, form.size()), form, [](char16_t unit, char16_t place) {
               return place == u'0' ? unit >= u'0' && unit <= u'9' : unit == place;
           });
}

bool isLetter(char16_t unit)
{
    return (unit >= u'A' && unit <= u'Z') || (unit >= u'a' && unit <= u'z');
}

// No text of a site's, in front of a message's number.
constexpr std::u16string_view mark = u"\u0001";

CodeTable numbersAsMessages()
{
    CodeTable table(1);
    for (const site::MessageRow& message : site::messages)
        table.push_back(std::u16string(message.code).append(site::tab).append(mark).append(message.code));
    return table;
}

bool isNotHeld(std::u16string_view record)
{
    return DispSvr::GetField(record, site::tab, 2) == std::u16string(mark).append(codeOf(Message::notHeld));
}

class SamplesCheck
{
public:
    SamplesCheck(DispSvr& svr, const Settings& settings, Report& report)
        : svr_(svr), settings_(settings), report_(report)
    {}

    void run()
    {
        report_.section(u"Samples", {u"What", u"Rows", u"State"});
        svr_.TabMessa = numbersAsMessages();
        step(u"copies of POSSEDUTO", [&] { copies(); });
        step(u"open loans of MOVIMENTI", [&] { loans(); });
        step(u"status texts of TABBLOCCOMAT", [&] { statuses(); });
        step(u"flags of TABBIBLIOTECHE", [&] { flags(); });
    }

private:
    template <class Step> void step(std::u16string_view what, Step step)
    {
        try {
            step();
        } catch (const RuntimeError& error) {
            report_.finding({u"database", 0, std::u16string(what)},
                            u"They cannot be read: " + error.description, u"See what the database says.");
        }
    }

    // --- Copies ---

    void copies()
    {
        const auto rows = someRows(svr_.Conn, u"CODBIB, INVENTARIO", 2, u"POSSEDUTO", mostCopies);
        if (rows.empty()) {
            found(u"POSSEDUTO", u"It has no rows: no copy is held by any library.", u"Fill it.");
            return;
        }
        using Clock = std::chrono::steady_clock;
        const Clock::time_point begun = Clock::now();
        std::size_t asked = 0, missed = 0, failed = 0;
        std::u16string reason;
        for (const auto& row : rows) {
            if (Clock::now() - begun > longest)
                break;
            ++asked;
            const std::u16string record = ask(row[0], row[1]);
            if (site::isFailure(record) && ++failed == 1)
                reason = text::fromUtf8(recordedFailure(svr_).description);
            if (isNotHeld(record) && ++missed == 1)
                explainMissed(row[0].toText(), row[1].toText());
        }
        const auto each = std::chrono::duration<double, std::milli>(Clock::now() - begun) / asked;
        report_.fact({u"copies", decimal(asked),
                      failed > 0   ? decimal(failed) + u" FAIL"
                      : missed > 0 ? decimal(missed) + u" NOT FOUND"
                                   : u"found"});
        if (failed > 0)
            found(u"POSSEDUTO",
                  u"Questions about " + decimal(failed) + u" of " + decimal(asked) + u" copies fail: " +
                      reason + u".",
                  u"docs/administration.md and docs/databases.md have the causes.");
        const std::u16string time = milliseconds(each.count());
        report_.fact({u"one question", u"", u"takes " + time + u" ms"});
        if (each > slow)
            found(u"POSSEDUTO", u"One question takes " + time + u" ms.",
                  u"Make the indexes that docs/databases.md names, or see why the database is slow.");
        letters(rows);
        for (const auto& [column, name] : {Column{0, u"CODBIB"}, Column{1, u"INVENTARIO"}})
            if (std::ranges::any_of(rows, [at = column](const auto& row) { return isNumber(row[at]); }))
                found(std::u16string(u"POSSEDUTO.").append(name),
                      u"It is of a number type: 007 would find 7, which is another copy.",
                      u"Make it a text type.");
    }

    static std::u16string milliseconds(double time)
    {
        char digits[32];
        std::snprintf(digits, sizeof digits, time < 10 ? "%.2f" : "%.0f", time);
        return text::fromUtf8(digits);
    }

    // What a label must be for this number to be looked up, as far as a label can be.
    static std::u16string before(std::int16_t start, const std::u16string& value)
    {
        return std::u16string(static_cast<std::size_t>(std::max<int>(start, 1) - 1), u'X') + value;
    }

    // The record of a copy, by a label whose part in use is its number.
    std::u16string ask(const Variant& library, const Variant& number)
    {
        const std::u16string label = text::upper(before(svr_.InvStart, number.toText()));
        std::u16string code = before(svr_.BibStart, library.toText());
        return svr_.Make_LstDispo(text::trim(label), code);
    }

    void explainMissed(const std::u16string& library, const std::u16string& number)
    {
        const site::Setting &inventory = site::setting(u"SERVER", u"INVENTARIO"),
                            &code = site::setting(u"SERVER", u"BIBLIOTECA");
        if (svr_.BibLen > 0 && library.size() > static_cast<std::size_t>(svr_.BibLen))
            report_.finding(settings_.placeOf(code),
                            u"It finds no copy of library " + inQuotes(library) +
                                u": the part that it takes is shorter.",
                            u"Give it the length of POSSEDUTO.CODBIB, or none.");
        else if (svr_.InvLen > 0 && number.size() > static_cast<std::size_t>(svr_.InvLen))
            report_.finding(settings_.placeOf(inventory),
                            u"It does not find the copy " + inQuotes(number) +
                                u": the part that it takes is shorter.",
                            u"Give it the length of POSSEDUTO.INVENTARIO, or none.");
        else if (number != text::upper(number))
            found(u"POSSEDUTO.INVENTARIO",
                  u"The copy " + inQuotes(number) + u" is not found: numbers are looked up in capitals.",
                  u"Write it in capitals.");
        else
            found(u"POSSEDUTO.INVENTARIO",
                  u"The copy " + inQuotes(number) + u" of library " + inQuotes(library) +
                      u" is not found by its number.",
                  u"See whether blanks stand at its ends, or the column's type changes it.");
    }

    // Numbers that are whole labels, of which a part is looked up.
    void letters(const std::vector<std::vector<Variant>>& rows)
    {
        const auto dropped = static_cast<std::size_t>(std::max<int>(svr_.InvStart, 1) - 1);
        const auto isWhole = [&](const auto& row) {
            const std::u16string number = row[1].toText();
            return number.size() > dropped &&
                   std::all_of(number.begin(), number.begin() + static_cast<std::ptrdiff_t>(dropped),
                               isLetter);
        };
        if (dropped > 0 && std::ranges::all_of(rows, isWhole))
            report_.finding(settings_.placeOf(site::setting(u"SERVER", u"INVENTARIO")),
                            u"POSSEDUTO holds whole labels, such as " + inQuotes(rows.front()[1].toText()) +
                                u": without their first letters none is found.",
                            u"Write INVENTARIO=1.");
    }

    // --- Loans ---

    void loans()
    {
        const auto rows =
            someRows(svr_.Conn, u"DATA, DATA_SCAD", 2, u"MOVIMENTI WHERE FLGCHIUSO IS NULL", mostLoans);
        for (const auto& [column, name] : {Column{0, u"DATA"}, Column{1, u"DATA_SCAD"}}) {
            const Place place{u"database", 0, std::u16string(u"MOVIMENTI.").append(name)};
            std::u16string wrong, advice = u"Make it a DATE, or write dates as YYYY-MM-DD.";
            for (const auto& row : rows)
                if (wrong = wrongDate(row[column], column == 1); !wrong.empty())
                    break;
            report_.fact({place.key, decimal(rows.size()), wrong.empty() ? u"dates" : u"NOT ALL DATES"});
            if (!wrong.empty())
                report_.finding(place, wrong, advice);
        }
    }

    static std::u16string wrongDate(const Variant& value, bool isCompared)
    {
        const bool isEmpty = value.isNull() || value.isEmpty() || (isText(value) && value.toText().empty());
        if (isEmpty)
            return isCompared ? u"A loan has none: each question about its copy fails." : u"";
        if (value.get().vt == VT_DATE)
            return {};
        const std::u16string written = inQuotes(value.toText());
        try {
            const std::u16string read = isoDate(value.toDate());
            if (isNumber(value))
                return written + u" is a number, and is read as " + read + u".";
            if (!isIsoDate(value.toText()))
                return written + u" is a text: this account reads it as " + read + u", another one may not.";
            return {};
        } catch (const RuntimeError&) {
            return written + u" is no date: each question about its copy fails.";
        }
    }

    static std::u16string isoDate(double days)
    {
        const std::chrono::year_month_day date(clock::dayZero + std::chrono::days(static_cast<int>(days)));
        char digits[32];
        std::snprintf(digits, sizeof digits, "%04d-%02u-%02u", static_cast<int>(date.year()),
                      static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()));
        return text::fromUtf8(digits);
    }

    // --- Codes ---

    void statuses()
    {
        const auto rows = rowsOf(svr_.Conn, u"SELECT CODBLOCMAT, MESSAGGIO FROM TABBLOCCOMAT", 2);
        std::size_t cut = 0;
        for (const auto& row : rows) {
            const std::u16string code = textOf(row[0]), text = textOf(row[1]);
            const std::size_t room = site::statusEntryLength - site::tab.size();
            if (code.size() + text.size() > room && ++cut == 1)
                found(u"TABBLOCCOMAT.MESSAGGIO",
                      u"The text of status " + inQuotes(code) + u" is cut after " +
                          decimal(room - std::min(code.size(), room)) + u" characters.",
                      u"Shorten it: code and text together have at most " + decimal(room) + u" characters.");
            if (code.ends_with(u' '))
                found(u"TABBLOCCOMAT.CODBLOCMAT",
                      u"The status " + inQuotes(code) + u" ends in a blank: its text is never told.",
                      u"Make the column a varchar.");
        }
        report_.fact({u"status texts", decimal(rows.size()), cut == 0 ? u"whole" : decimal(cut) + u" CUT"});
    }

    void flags()
    {
        const auto rows = rowsOf(svr_.Conn, u"SELECT CODBIB, FLGMOVIM FROM TABBIBLIOTECHE", 2);
        report_.fact(
            {u"libraries", decimal(rows.size()), rows.empty() ? u"NONE: codes are told as names" : u""});
        for (const auto& row : rows)
            if (const std::u16string flag = text::upper(textOf(row[1]));
                text::trim(flag) == u"N" && flag != u"N")
                found(u"TABBIBLIOTECHE.FLGMOVIM",
                      u"That of library " + inQuotes(textOf(row[0])) +
                          u" has a blank beside its N, and does not count.",
                      u"Make the column a char(1).");
    }

    static std::u16string textOf(const Variant& value) { return value.isNull() ? u"" : value.toText(); }

    void found(std::u16string column, std::u16string what, std::u16string advice)
    {
        report_.finding({u"database", 0, std::move(column)}, std::move(what), std::move(advice));
    }

    DispSvr& svr_;
    const Settings& settings_;
    Report& report_;
};

} // namespace

void checkSamples(DispSvr& svr, const Settings& settings, Report& report)
{
    SamplesCheck(svr, settings, report).run();
}

} // namespace vqloan::client
