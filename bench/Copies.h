// What the availability benchmarks share: the copies that are asked about, the bare decision, and the
// comparison.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "RatioReporter.h"
#include "component/DispSvr.h"
#include "platform/runtime/Text.h"
#include "site/Kind.h"

namespace vqloan::bench {

constexpr int libraries = 500;

struct Copy
{
    std::string library, inventory;
    std::u16string wideLibrary, wideInventory; // as the component takes them
};

// Of copies numbered from 0: the number in 8 digits, in the library that is its remainder.
inline std::vector<Copy> anyCopies(std::size_t count, int held)
{
    std::mt19937 random(4711);
    std::uniform_int_distribution<int> pick(0, held - 1);
    std::vector<Copy> chosen(count);
    for (Copy& copy : chosen) {
        const int number = pick(random);
        char text[16];
        std::snprintf(text, sizeof text, "B%03d", number % libraries);
        copy.library = text;
        std::snprintf(text, sizeof text, "%08d", number);
        copy.inventory = text;
        copy.wideLibrary = text::fromUtf8(copy.library);
        copy.wideInventory = text::fromUtf8(copy.inventory);
    }
    return chosen;
}

// As requests of so many lines.
inline std::vector<std::u16string> requestsOf(const std::vector<Copy>& copies, std::size_t lines)
{
    std::vector<std::u16string> requests((copies.size() + lines - 1) / lines);
    for (std::size_t i = 0; i < copies.size(); ++i)
        requests[i / lines] += copies[i].wideLibrary + u"\tA 1\t" + copies[i].wideInventory + u"\t\r\n";
    return requests;
}

const char* const messages[] = {"",         "special",          "available", "overdue",
                                "on loan",  "no shelf mark",    "discarded", "reminded",
                                "not kept", "back end failing", "unknown",   "out of service"};

// --- What a bare loop does ---

// One of the three statements: what stands before, between and after its values.
struct StatementText
{
    std::string before, between, after;

    std::string withParameters() const
    {
        return before + "?" + between + (between.empty() ? "" : "?") + after;
    }
};
enum Which
{
    library,
    loans,
    holdings
};
const StatementText statementTexts[] = {
    {"SELECT FLGMOVIM, DESCR FROM TABBIBLIOTECHE WHERE CODBIB = ", "", ""},
    {"SELECT * FROM MOVIMENTI WHERE CODBIB = ", " AND INVENTARIO = ", " AND FLGCHIUSO IS NULL"},
    {"SELECT POSSEDUTO.*, TABBIBLIOTECHE.DESCR FROM POSSEDUTO LEFT JOIN TABBIBLIOTECHE "
     "ON POSSEDUTO.CODBIB = TABBIBLIOTECHE.CODBIB WHERE POSSEDUTO.CODBIB =",
     " AND INVENTARIO = ", ""}};
// Columns by their place in `SELECT *` of the benchmarks' tables.
namespace column {
constexpr int flgmovim = 0, libraryDescr = 1;
constexpr int livsoll = 3, data = 4, dataScad = 5;
constexpr int stato = 2, flgserv = 3, collocazione = 4, descr = 5;
} // namespace column

inline std::string_view trimmed(std::string_view text)
{
    return text.substr(0, text.find_last_not_of(' ') + 1);
}
inline bool equals(std::string_view text, std::string_view upper)
{
    return std::equal(text.begin(), text.end(), upper.begin(), upper.end(),
                      [](unsigned char a, unsigned char b) { return std::toupper(a) == b; });
}
inline std::string today()
{
    char date[16];
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    return {date, std::strftime(date, sizeof date, "%Y-%m-%d", &local)};
}

// The record of one copy, asked for as a C program would ask. A Loop has
//   bool begin(Which, const Copy&)            runs a statement; true when there is a row
//   std::string_view text(Which, int column)  of that row, good until the next call; empty for NULL
//   void end(Which)                           releases it
template <class Loop> std::string bareAnswer(Loop& loop, const Copy& copy)
{
    std::string record;
    const bool keepsMovements =
        !loop.begin(library, copy) || !equals(loop.text(library, column::flgmovim), "N");
    if (!keepsMovements)
        record.append(loop.text(library, column::libraryDescr))
            .append("\t")
            .append(messages[8])
            .append("\t\t");
    loop.end(library);
    if (!keepsMovements)
        return record;

    const bool onLoan = loop.begin(loans, copy);
    const auto situation = [&] {
        if (!loop.begin(holdings, copy)) {
            record.append("\t").append(messages[10]).append("\t\t");
            return;
        }
        record = loop.text(holdings, column::descr);
        if (record.empty())
            record = copy.library;
        record += "\t\t";
        const std::string status(trimmed(loop.text(holdings, column::stato)));
        const bool outOfService = equals(trimmed(loop.text(holdings, column::flgserv)), "N");
        if (outOfService) {
            record.append(messages[11]).append("\t\t");
            return;
        }
        if (std::strtod(status.c_str(), nullptr) > 0)
            record += messages[1]; // the benchmarks' site has no text for any status
        const std::string_view shelfMark = trimmed(loop.text(holdings, column::collocazione));
        if (equals(shelfMark.substr(0, 3), "SC "))
            record.append(messages[6]).append("\t");
        else if (shelfMark.empty())
            record.append(messages[5]).append("\t");
        else if (!onLoan)
            record.append(messages[2]).append("\t");
        else if (std::atoi(std::string(loop.text(loans, column::livsoll)).c_str()) > 0)
            record.append(messages[7]).append("\t\t");
        else if (const std::string date(loop.text(loans, column::data));
                 loop.text(loans, column::dataScad).substr(0, 10) < today())
            record.append(messages[3]).append("\t\t");
        else
            record.append(messages[4])
                .append("\t")
                .append(date, 8, 2)
                .append("-")
                .append(date, 5, 2)
                .append("-")
                .append(date, 0, 4)
                .append("\t");
    };
    situation();
    loop.end(loans);
    loop.end(holdings);
    return record;
}

// --- What the component does ---

class Component
{
public:
    explicit Component(const std::string& connectionText)
    {
        server_.Conn = createConnection();
        server_.Conn->Open(text::fromUtf8(connectionText), u"", u"", -1);
        server_.DBType = static_cast<std::int16_t>(site::Kind::database);
        server_.InvStart = server_.BibStart = 1;
        for (const char* message : messages) {
            const auto number = static_cast<std::int64_t>(server_.TabMessa.size());
            server_.TabMessa.push_back(text::decimal(number) + u"\t" + text::fromUtf8(message));
        }
        server_.TabStati.push_back(u"");
    }

    std::u16string answer(const Copy& copy)
    {
        std::u16string library = copy.wideLibrary;
        return server_.Make_LstDispo(copy.wideInventory, library);
    }
    // To a request of lines.
    std::u16string answers(std::u16string_view request) { return server_.VisNre(request); }

private:
    DispSvr server_;
};

// --- Side by side ---

// Asks of one copy after the other.
template <class Answer>
void askInTurn(benchmark::State& state, const std::vector<Copy>& copies, Answer answer)
{
    std::size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(answer(copies[next]));
        next = (next + 1) % copies.size();
    }
}

// Throws when the component says something else of a copy than the bare loop.
template <class Loop> void compare(Component& component, Loop& loop, const std::vector<Copy>& copies)
{
    for (const Copy& copy : copies)
        if (text::toUtf8(component.answer(copy)) != bareAnswer(loop, copy))
            throw std::runtime_error("the answers differ for " + copy.inventory);
}

} // namespace vqloan::bench
