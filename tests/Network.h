// A small network of libraries with a copy for every situation, and what a desk is told about each. Every
// database that is tested holds these rows and is asked these questions.
#pragma once

#include <chrono>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

namespace vqloan::test {

using Value = std::optional<std::string>; // nothing: NULL

// Rows as the columns stand in `schema`. Dates are days from today, with a time of day behind a blank.
struct Table
{
    std::string name;
    std::vector<std::string> columns;
    std::vector<std::vector<Value>> rows;
};

inline std::string dayFromToday(int days, const char* format = "%Y-%m-%d")
{
    std::time_t now = std::time(nullptr);
    std::tm date = *std::localtime(&now);
    date.tm_mday += days;
    date.tm_hour = 12;
    date.tm_isdst = -1;
    std::mktime(&date);
    char text[32];
    std::strftime(text, sizeof text, format, &date);
    return text;
}

inline std::vector<Table> network()
{
    const Value null;
    const std::string yesterday = dayFromToday(-1), today = dayFromToday(0), tomorrow = dayFromToday(1),
                      lent = dayFromToday(-20);
    return {
        {"TABBIBLIOTECHE",
         {"CODBIB", "FLGMOVIM", "DESCR"},
         {{"01", "S", "Civica"},
          {"02", "n", "Archivio"},
          {"03", "N ", "Rionale"}, // another flag than "N"
          {"04", null, null},
          {"05", "N", null},
          {"O'1", "S", "Fondo \"O'Neill\"; --"}}},
        {"TABBLOCCOMAT",
         {"CODBLOCMAT", "MESSAGGIO"},
         {{"1", "In restauro"}, {"1", "mai letto"}, {"7", "Al bando"}}},
        {"POSSEDUTO",
         {"CODBIB", "INVENTARIO", "STATO", "FLGSERV", "COLLOCAZIONE"},
         {
             {"01", "FREE", "0", "S", "A 1"},
             {"01", "FREE-NULLS", null, null, "A 1  "},
             {"01", "OUT", "1", "n ", "A 1"},
             {"01", "STATUS", "1 ", "S", "SC 1"},
             {"01", "STATUS-NO-TEXT", "5", "S", "A 1"},
             {"01", "STATUS-NO-TEXT-LENT", "5", "S", "A 1"},
             {"01", "STATUS-NEGATIVE", "-1", "S", "A 1"},
             {"01", "STATUS-WORD", "x1", "S", "A 1"},
             {"01", "STATUS-LEADING", "7x", "S", "A 1"},
             {"01", "SC", "0", "S", "sc 12"},
             {"01", "SC-LENT", "0", "S", "SC 12"},
             {"01", "SC-BARE", "0", "S", "SC  "},
             {"01", "NO-MARK", "0", "S", "   "},
             {"01", "NO-MARK-LENT", "0", "S", null},
             {"01", "REMINDED", "0", "S", "A 1"},
             {"01", "OVERDUE", "0", "S", "A 1"},
             {"01", "LENT", "0", "S", "A 1"},
             {"01", "LENT-TODAY", "0", "S", "A 1"},
             {"01", "LENT-TODAY-TIME", "0", "S", "A 1"},
             {"01", "LENT-NO-DATE", "0", "S", "A 1"},
             {"01", "NO-DUE-DATE", "0", "S", "A 1"},
             {"01", "RETURNED", "0", "S", "A 1"},
             {"02", "FREE", "0", "S", "A 1"},
             {"03", "FREE", "0", "S", "A 1"},
             {"04", "FREE", "0", "S", "A 1"},
             {"09", "FREE", "0", "S", "A 1"},
             {"O'1", "X'Y", "0", "S", "A 1"},
         }},
        {"MOVIMENTI",
         {"CODBIB", "INVENTARIO", "FLGCHIUSO", "LIVSOLL", "DATA_SCAD", "DATA"},
         {
             {"01", "OUT", null, "2", yesterday, lent},
             {"01", "STATUS-NO-TEXT-LENT", null, "0", tomorrow, "2024-02-29"},
             {"01", "SC-LENT", null, "0", yesterday, lent},
             {"01", "NO-MARK-LENT", null, "2", yesterday, lent},
             {"01", "REMINDED", null, "2", tomorrow, lent},
             {"01", "OVERDUE", null, "0", yesterday + " 23:59:59", lent},
             {"01", "LENT", null, null, tomorrow, "2024-02-29"},
             {"01", "LENT-TODAY", null, "0", today, "2024-12-01"},
             {"01", "LENT-TODAY-TIME", null, "0", today + " 00:00:01", "2024-12-01 10:00:00"},
             {"01", "LENT-NO-DATE", null, "0", tomorrow, null},
             {"01", "NO-DUE-DATE", null, "0", null, lent},
             {"01", "RETURNED", "S", "2", yesterday, lent},
         }},
    };
}

// Columns that hold dates; all others hold text.
inline bool isDate(const std::string& column)
{
    return column == "DATA" || column == "DATA_SCAD";
}

// The statements that make the tables and their rows. `dateType` is what the database calls a date with a
// time.
inline std::string schemaAndRows(const std::string& dateType = "TIMESTAMP",
                                 const std::string& textType = "VARCHAR(40)")
{
    std::string statements;
    for (const Table& table : network()) {
        std::string columns, rows;
        for (const std::string& column : table.columns)
            columns += (columns.empty() ? "" : ", ") + column + " " + (isDate(column) ? dateType : textType);
        statements += "CREATE TABLE " + table.name + " (" + columns + ");\n";
        for (const auto& row : table.rows) {
            std::string values;
            for (const Value& value : row) {
                std::string quoted;
                for (const char c : value.value_or(""))
                    quoted += c == '\'' ? std::string("''") : std::string(1, c);
                values += (values.empty() ? "" : ", ") + (value ? "'" + quoted + "'" : "NULL");
            }
            statements += "INSERT INTO " + table.name + " VALUES (" + values + ");\n";
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

// One question and the record that answers it: "library's description|fields of the situation".
struct Question
{
    const char* situation;
    const char* library;
    const char* inventory;
    const char* record;
};

inline const std::string padded = std::string("In restauro") + std::string(27, ' '); // to the 40th character

inline std::vector<Question> questions()
{
    static const std::string inRestoration = "Civica||" + padded + "||";
    return {
        {"available", "01", "FREE", "Civica||Disponibile|"},
        {"available, columns NULL", "01", "FREE-NULLS", "Civica||Disponibile|"},
        {"no movements kept wins over all", "02", "FREE", "Archivio|Senza prestiti||"},
        {"no movements kept, copy unknown", "02", "NOWHERE", "Archivio|Senza prestiti||"},
        {"no movements kept, no description", "05", "FREE", "05|Senza prestiti||"},
        {"the flag is not trimmed", "03", "FREE", "Rionale||Disponibile|"},
        {"no description", "04", "FREE", "04||Disponibile|"},
        {"library not in the table", "09", "FREE", "09||Disponibile|"},
        {"not held", "01", "NOWHERE", "|Non posseduto||"},
        {"not held: exact case", "o'1", "X'Y", "|Non posseduto||"},
        {"quotes in code and number", "O'1", "X'Y", "Fondo \"O'Neill\"; --||Disponibile|"},
        {"out of service wins over status and loan", "01", "OUT", "Civica||Fuori servizio||"},
        {"status text wins over the shelf mark", "01", "STATUS", inRestoration.c_str()},
        {"status without a text", "01", "STATUS-NO-TEXT", "Civica||(stato) Disponibile|"},
        {"status without a text, lent", "01", "STATUS-NO-TEXT-LENT",
         "Civica||(stato) In prestito|29-02-2024|"},
        {"negative status", "01", "STATUS-NEGATIVE", "Civica||Disponibile|"},
        {"status no number", "01", "STATUS-WORD", "Civica||Disponibile|"},
        {"status with a leading number", "01", "STATUS-LEADING", "Civica||(stato) Disponibile|"},
        {"discarded, lower case", "01", "SC", "Civica||Scartato|"},
        {"discarded wins over the loan", "01", "SC-LENT", "Civica||Scartato|"},
        {"the letters SC alone are a shelf mark", "01", "SC-BARE", "Civica||Disponibile|"},
        {"no shelf mark", "01", "NO-MARK", "Civica||Senza collocazione|"},
        {"no shelf mark wins over the loan", "01", "NO-MARK-LENT", "Civica||Senza collocazione|"},
        {"reminders win over the due date", "01", "REMINDED", "Civica||Sollecitato||"},
        {"due yesterday", "01", "OVERDUE", "Civica||Scaduto||"},
        {"due tomorrow", "01", "LENT", "Civica||In prestito|29-02-2024|"},
        {"due today", "01", "LENT-TODAY", "Civica||In prestito|01-12-2024|"},
        {"due today with a time of day", "01", "LENT-TODAY-TIME", "Civica||In prestito|01-12-2024|"},
        {"lent without a date", "01", "LENT-NO-DATE", "Civica||In prestito||"},
        {"returned", "01", "RETURNED", "Civica||Disponibile|"},
    };
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
