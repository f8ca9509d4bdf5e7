// A small network of libraries with a copy for every situation, and what a desk is told about each. Every
// database that is tested holds these rows and is asked these questions.
#pragma once

#include <chrono>
#include <ctime>
#include <iomanip>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace vqloan::test {

using Value = std::optional<std::string>; // nothing: NULL
using Row = std::vector<Value>;

inline std::string dayFromToday(int days, const char* format = "%Y-%m-%d")
{
    using namespace std::chrono;
    static const std::tm today = [] { // once: threads ask here
        const std::time_t now = std::time(nullptr);
        return *std::localtime(&now);
    }();
    const year_month_day date =
        sys_days(year(today.tm_year + 1900) / (today.tm_mon + 1) / today.tm_mday) + std::chrono::days(days);
    std::tm written{};
    written.tm_year = int(date.year()) - 1900;
    written.tm_mon = int(unsigned(date.month())) - 1;
    written.tm_mday = int(unsigned(date.day()));
    written.tm_hour = 12;
    std::ostringstream text;
    text << std::put_time(&written, format);
    return text.str();
}

// One question, what the database holds of its copy, and the record that answers it: "library's
// description|fields of the situation". Dates are days from today, with a time of day behind a blank.
struct Question
{
    const char* situation;
    const char* library;
    const char* inventory;
    Row copy; // STATO, FLGSERV, COLLOCAZIONE; none: not held
    Row loan; // LIVSOLL, DATA_SCAD, DATA, FLGCHIUSO; none: not lent
    std::string record;
};

inline std::vector<Question> questions()
{
    const Value null;
    const Row none;
    const auto held = [](const Value& status = "0", const Value& service = "S", const Value& mark = "A 1") {
        return Row{status, service, mark};
    };
    const auto lent = [](const Value& reminders, const Value& due, const Value& since = dayFromToday(-20),
                         const Value& closed = {}) {
        return Row{reminders, due, since, closed};
    };
    const std::string yesterday = dayFromToday(-1), today = dayFromToday(0), tomorrow = dayFromToday(1),
                      inRestoration = "In restauro" + std::string(27, ' '); // to the 40th character
    return {
        {"available", "01", "FREE", held(), none, "Civica||Disponibile|"},
        {"available, columns NULL", "01", "FREE-NULLS", held(null, null, "A 1  "), none,
         "Civica||Disponibile|"},
        {"no movements kept wins over all", "02", "FREE", held(), none, "Archivio|Senza prestiti||"},
        {"no movements kept, copy unknown", "02", "NOWHERE", none, none, "Archivio|Senza prestiti||"},
        {"no movements kept, no description", "05", "FREE", none, none, "05|Senza prestiti||"},
        {"the flag is not trimmed", "03", "FREE", held(), none, "Rionale||Disponibile|"},
        {"no description", "04", "FREE", held(), none, "04||Disponibile|"},
        {"library not in the table", "09", "FREE", held(), none, "09||Disponibile|"},
        {"not held", "01", "NOWHERE", none, none, "|Non posseduto||"},
        {"not held: exact case", "o'1", "X'Y", none, none, "|Non posseduto||"},
        {"quotes in code and number", "O'1", "X'Y", held(), none, "Fondo \"O'Neill\"; --||Disponibile|"},
        {"out of service wins over status and loan", "01", "OUT", held("1", "n "), lent("2", yesterday),
         "Civica||Fuori servizio||"},
        {"status text wins over the shelf mark", "01", "STATUS", held("1 ", "S", "SC 1"), none,
         "Civica||" + inRestoration + "||"},
        {"status without a text", "01", "STATUS-NO-TEXT", held("5"), none, "Civica||(stato) Disponibile|"},
        {"status without a text, lent", "01", "STATUS-NO-TEXT-LENT", held("5"),
         lent("0", tomorrow, "2024-02-29"), "Civica||(stato) In prestito|29-02-2024|"},
        {"negative status", "01", "STATUS-NEGATIVE", held("-1"), none, "Civica||Disponibile|"},
        {"status no number", "01", "STATUS-WORD", held("x1"), none, "Civica||Disponibile|"},
        {"status with a leading number", "01", "STATUS-LEADING", held("7x"), none,
         "Civica||(stato) Disponibile|"},
        {"discarded, lower case", "01", "SC", held("0", "S", "sc 12"), none, "Civica||Scartato|"},
        {"discarded wins over the loan", "01", "SC-LENT", held("0", "S", "SC 12"), lent("0", yesterday),
         "Civica||Scartato|"},
        {"the letters SC alone are a shelf mark", "01", "SC-BARE", held("0", "S", "SC  "), none,
         "Civica||Disponibile|"},
        {"no shelf mark", "01", "NO-MARK", held("0", "S", "   "), none, "Civica||Senza collocazione|"},
        {"no shelf mark wins over the loan", "01", "NO-MARK-LENT", held("0", "S", null), lent("2", yesterday),
         "Civica||Senza collocazione|"},
        {"reminders win over the due date", "01", "REMINDED", held(), lent("2", tomorrow),
         "Civica||Sollecitato||"},
        {"due yesterday", "01", "OVERDUE", held(), lent("0", yesterday + " 23:59:59"), "Civica||Scaduto||"},
        {"due tomorrow", "01", "LENT", held(), lent(null, tomorrow, "2024-02-29"),
         "Civica||In prestito|29-02-2024|"},
        {"due today", "01", "LENT-TODAY", held(), lent("0", today, "2024-12-01"),
         "Civica||In prestito|01-12-2024|"},
        {"due today with a time of day", "01", "LENT-TODAY-TIME", held(),
         lent("0", today + " 00:00:01", "2024-12-01 10:00:00"), "Civica||In prestito|01-12-2024|"},
        {"lent without a date", "01", "LENT-NO-DATE", held(), lent("0", tomorrow, null),
         "Civica||In prestito||"},
        {"returned", "01", "RETURNED", held(), lent("2", yesterday, null, "S"), "Civica||Disponibile|"},
    };
}

struct Table
{
    std::string name;
    std::vector<std::string> columns;
    std::vector<Row> rows;
};

inline std::vector<Table> network()
{
    const Value null;
    Table copies{"POSSEDUTO", {"CODBIB", "INVENTARIO", "STATO", "FLGSERV", "COLLOCAZIONE"}, {}},
        loans{"MOVIMENTI", {"CODBIB", "INVENTARIO", "LIVSOLL", "DATA_SCAD", "DATA", "FLGCHIUSO"}, {}};
    const auto add = [](Table& table, const Question& question, const Row& values) {
        if (values.empty())
            return;
        Row& row = table.rows.emplace_back(Row{question.library, question.inventory});
        row.insert(row.end(), values.begin(), values.end());
    };
    for (const Question& question : questions()) {
        add(copies, question, question.copy);
        add(loans, question, question.loan);
    }
    return {
        {"TABBIBLIOTECHE",
         {"FLGMOVIM", "DESCR", "CODBIB"},
         {{"S", "Civica", "01"},
          {"n", "Archivio", "02"},
          {"N ", "Rionale", "03"}, // another flag than "N"
          {null, null, "04"},
          {"N", null, "05"},
          {"S", "Fondo \"O'Neill\"; --", "O'1"}}},
        {"TABBLOCCOMAT",
         {"CODBLOCMAT", "MESSAGGIO"},
         {{"1", "In restauro"}, {"1", "mai letto"}, {"7", "Al bando"}}},
        copies,
        loans,
    };
}

// Columns that hold dates; all others hold text.
inline bool isDate(const std::string& column)
{
    return column == "DATA" || column == "DATA_SCAD";
}

// The statements that make the tables and their rows.
inline std::string schemaAndRows()
{
    std::string statements;
    for (const Table& table : network()) {
        std::string columns;
        for (const std::string& column : table.columns)
            columns +=
                (columns.empty() ? "" : ", ") + column + (isDate(column) ? " TIMESTAMP" : " VARCHAR(40)");
        statements += "CREATE TABLE " + table.name + " (" + columns + ");\n";
        for (const auto& row : table.rows) {
            std::ostringstream values;
            for (const char* separator = ""; const Value& value : row) {
                value ? values << separator << std::quoted(*value, '\'', '\'')
                      : values << separator << "NULL";
                separator = ", ";
            }
            statements += "INSERT INTO " + table.name + " VALUES (" + values.str() + ");\n";
        }
    }
    return statements;
}

// [MESSAGGI] of the site, "NUMMSG" and the rest.
inline const std::string messages =
    "[MESSAGGI]\nNUMMSG=11\n1=\"(stato) \"\n2=Disponibile\n3=Scaduto\n4=In prestito\n"
    "5=Senza collocazione\n6=Scartato\n7=Sollecitato\n8=Senza prestiti\n"
    "9=Nessuna risposta\n10=Non posseduto\n11=Fuori servizio\n";

// The settings of a site whose database is reached by that connection text; codes and numbers are used whole.
inline std::string databaseSettings(const std::string& connect)
{
    return "[SERVER]\nCONNECT=" + connect + "\nINVENTARIO=1\n" + messages;
}

// The answer line that such a record makes on the "SQL" and "SQL2" back ends.
inline std::string answerLine(const Question& question)
{
    const std::string record = question.record, item = std::string("Inv. ") + question.inventory;
    const auto bar = record.find('|');
    return item + "|" + record.substr(0, bar) + "|" + item + record.substr(bar + 1) + "||\n";
}

inline std::string requestLine(const Question& question)
{
    return std::string(question.library) + "||" + question.inventory + "\n";
}

} // namespace vqloan::test
