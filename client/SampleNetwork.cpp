#include "SampleNetwork.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <random>

namespace vqloan::client::sample {

namespace {

constexpr Library allLibraries[] = {
    {"00", "Biblioteca Centrale", "S"},        {"01", "Biblioteca di San Martino", "S"},
    {"02", "Biblioteca Borgo Vecchio", "S"},   {"03", "Biblioteca dei Ragazzi", "S"},
    {"04", "Biblioteca Musicale", "S"},        {"05", "Biblioteca Quartiere Est", "S"},
    {"06", "Biblioteca Quartiere Ovest", "S"}, {"07", "Archivio Storico", "N"},
    {"08", "Biblioteca d'Arte", "S"},          {"09", "Biblioteca delle Scienze", "S"},
    {"10", "Biblioteca di Valverde", "S"},     {"11", "Mediateca Ponte Nuovo", "S"},
};
constexpr std::string_view withoutCirculation = "07";

constexpr Status allStatuses[] = {
    {"1", "In catalogazione"}, {"2", "In restauro"}, {"3", "Smarrito"}, {"4", "In legatoria"}};
constexpr char statusWithoutText[] = "9";

struct Situation
{
    std::string_view name;
    unsigned ofHundred;
    std::string_view hostText;
};
constexpr Situation situations[] = {
    {"available", 52, "DISPONIBILE"},        {"on loan", 20, "IN PRESTITO"},
    {"overdue", 6, "IN PRESTITO - SCADUTO"}, {"reminded", 4, "IN PRESTITO - SOLLECITATO"},
    {"reading room", 7, "CONSULTAZIONE"},    {"no shelf mark", 2, "SENZA COLLOCAZIONE"},
    {"status", 4, "NON DISPONIBILE"},        {"status without text", 1, "NON DISPONIBILE"},
    {"out of service", 4, "FUORI SERVIZIO"},
};
// The libraries of the copies that come first, one in each situation.
constexpr std::size_t firstLibraries = 7;

constexpr const char* classes[] = {"028.5",   "364.1",   "508",     "641.5",   "709.45", "780.92",
                                   "823 WOO", "853 CAL", "853 ECO", "853 MOR", "945.09"};

// The standard's distributions differ between its implementations; the generator does not.
class Dice
{
public:
    unsigned between(unsigned least, unsigned most)
    {
        return least + static_cast<unsigned>(generator_() % (most - least + 1));
    }
    template <class T, std::size_t n> const T& oneOf(const T (&items)[n]) { return items[between(0, n - 1)]; }
    const Situation& situation()
    {
        unsigned at = between(1, 100);
        for (const Situation& candidate : situations) {
            if (at <= candidate.ofHundred)
                return candidate;
            at -= candidate.ofHundred;
        }
        return situations[0];
    }

private:
    std::mt19937 generator_{4};
};

std::string isoDate(std::chrono::sys_days day)
{
    const std::chrono::year_month_day date(day);
    char text[16];
    std::snprintf(text, sizeof text, "%04d-%02u-%02u", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()));
    return text;
}

Loan loan(std::chrono::sys_days today, unsigned daysAgo, int reminders = 0, bool closed = false)
{
    const auto lent = today - std::chrono::days(daysAgo);
    return {isoDate(lent), isoDate(lent + std::chrono::days(30)), reminders, closed};
}

void putInto(const Situation& situation, Copy& copy, Dice& dice, std::chrono::sys_days today)
{
    copy.situation = situation.name;
    copy.hostText = situation.hostText;
    if (situation.name == "on loan")
        copy.loans.push_back(loan(today, dice.between(0, 30)));
    else if (situation.name == "overdue")
        copy.loans.push_back(loan(today, dice.between(31, 45)));
    else if (situation.name == "reminded")
        copy.loans.push_back(loan(today, dice.between(46, 100), static_cast<int>(dice.between(1, 3))));
    else if (situation.name == "reading room")
        copy.shelf = std::string("SC ").append(copy.shelf);
    else if (situation.name == "no shelf mark")
        copy.shelf.clear();
    else if (situation.name == "status")
        copy.status = dice.oneOf(allStatuses).code;
    else if (situation.name == "status without text")
        copy.status = statusWithoutText;
    else if (situation.name == "out of service")
        copy.service = "N";
}

std::string sixDigits(std::size_t number)
{
    const std::string digits = std::to_string(number);
    return std::string(6 - std::min<std::size_t>(6, digits.size()), '0').append(digits);
}

} // namespace

std::span<const Library> libraries()
{
    return allLibraries;
}

std::span<const Status> statuses()
{
    return allStatuses;
}

std::vector<Copy> copies(std::size_t count, std::chrono::year_month_day today)
{
    constexpr std::size_t kinds = std::size(situations);
    Dice dice;
    std::vector<Copy> made;
    for (std::size_t i = 0; i < count; ++i) {
        const bool first = i < kinds;
        const Situation& situation = first ? situations[i] : dice.situation();
        Copy copy;
        copy.library = allLibraries[first ? i % firstLibraries : (i + 1) % std::size(allLibraries)].code;
        copy.number = sixDigits(i + 1);
        copy.shelf.append(dice.oneOf(classes)).append(" ").append(std::to_string(dice.between(1, 900)));
        for (unsigned past = dice.between(0, 2); past > 0; --past)
            copy.loans.push_back(
                loan(today, dice.between(120, 900), static_cast<int>(dice.between(0, 1)), true));
        putInto(situation, copy, dice, today);
        made.push_back(std::move(copy));
    }
    return made;
}

std::string hostTable(std::span<const Copy> copies)
{
    std::string table = "# library, inventory number, answer\n";
    for (const Copy& copy : copies)
        table.append(copy.library)
            .append("\t")
            .append(copy.number)
            .append("\t")
            .append(copy.hostText)
            .append("\n");
    return table + "*\t*\tCOPIA SCONOSCIUTA\n";
}

std::string allRequests(std::span<const Copy> copies)
{
    std::string lines;
    for (const Copy& copy : copies)
        lines.append(copy.requestLine()).append("\n");
    return lines;
}

std::string requestsForEachSituation(std::span<const Copy> copies)
{
    std::vector<std::string_view> seen;
    std::string lines;
    for (const Copy& copy : copies) {
        const auto situation = withoutCirculation == copy.library ? "without circulation" : copy.situation;
        if (std::ranges::find(seen, situation) != seen.end())
            continue;
        seen.push_back(situation);
        lines.append(copy.requestLine()).append("\n");
    }
    return lines + "04\t780.92 12\tKA999999\t\n";
}

} // namespace vqloan::client::sample
