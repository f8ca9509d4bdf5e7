// vqloan check: why a site does not work, and what to do about it. The settings are read as the component
// reads them, and in the end the component itself opens the back end.
#include <fstream>
#include <iostream>
#include <map>
#include <memory>
#include <set>
#include <span>

#include "Answer.h"
#include "Commands.h"
#include "Component.h"
#include "Parameters.h"
#include "Report.h"
#include "Settings.h"
#include "config/Placeholders.h"
#include "external/Ado.h"
#include "platform/ado/Passwords.h"
#include "platform/runtime/Numbers.h"
#include "platform/runtime/RuntimeError.h"
#include "platform/runtime/Text.h"

namespace fs = std::filesystem;

namespace vqloan::client {

namespace {

std::u16string inQuotes(std::u16string_view text)
{
    return std::u16string(u"\"").append(text).append(u"\"");
}
std::u16string decimal(std::size_t number)
{
    return text::decimal(static_cast<std::int64_t>(number));
}

// --- Settings of SvrDisp.ini ---

enum class Form
{
    number,
    text,
    pair,
    secret,
    connection
};

struct Key
{
    const char *section, *key;
    const char16_t* byDefault;
    Form form;
};

const Key databaseKeys[] = {
    {"SERVER", "CONNECT", u"", Form::connection},  {"SERVER", "TIMEOUT", u"0", Form::number},
    {"SERVER", "COMMTIMEOUT", u"0", Form::number}, {"SERVER", "CURSOR", u"0", Form::number},
    {"SERVER", "OPTIONS", u"-1", Form::number},    {"SERVER", "USERNAME", u"", Form::text},
    {"SERVER", "PASSWORD", u"", Form::secret},     {"SERVER", "INVENTARIO", u"3", Form::pair},
    {"SERVER", "BIBLIOTECA", u"", Form::pair},
};
const Key gatewayKeys[] = {
    {"CONFIG", "PATH", u"", Form::text},
    {"CLIENT", "ID", u"0", Form::number},
    {"CLIENT", "TIMEOUT", u"5", Form::number},
};

// What a message reports, by its number.
const std::map<int, const char16_t*> databaseMessages = {
    {1, u"in front: a special status without a text of its own"},
    {2, u"available"},
    {3, u"on loan, overdue"},
    {4, u"on loan (the date follows)"},
    {5, u"no shelf mark"},
    {6, u"shelf mark \"SC \""},
    {7, u"on loan, reminders sent"},
    {8, u"library without circulation"},
    {10, u"not held by the library"},
    {11, u"out of service"},
};
const std::map<int, const char16_t*> gatewayMessages = {{9, u"no answer from the gateway in time"}};

bool isNumber(const std::u16string& value)
{
    try {
        Variant(value).toLong();
        return true;
    } catch (const RuntimeError&) {
        return false;
    }
}

bool fits16Bits(std::u16string_view number)
{
    try {
        numbers::toInteger(numbers::leadingNumber(number));
        return true;
    } catch (const RuntimeError&) {
        return false;
    }
}

bool isPair(const std::u16string& value, bool mayBeEmpty)
{
    const auto elements = split(value, u",");
    return (mayBeEmpty || !value.empty()) && fits16Bits(elements[0]) &&
           (elements.size() < 2 || fits16Bits(elements[1]));
}

void appendTo(std::u16string& list, std::u16string_view item)
{
    if (!list.empty())
        list += u", ";
    list += item;
}

class Checker
{
public:
    explicit Checker(const Site& site) : site_(site), settings_(site) {}

    Report run(const std::string& kind)
    {
        files(kind);
        if (kind == "SQL2")
            database();
        else if (kind == "SQL")
            gateway();
        else
            host();
        opening(kind);
        return std::move(report_);
    }

private:
    // --- What is there ---

    void files(const std::string& kind)
    {
        report_.section(u"Files", {u"File", u"Read from", u""});
        report_.fact({u"component", site_.source().u16string(),
                      site_.ownComponent() ? u"found" : u"the site has none of its own"});
        const fs::path file = kind == "7000" ? site_.parameters() : site_.settings();
        const bool found = fs::exists(file);
        report_.fact({u"settings", file.u16string(), found ? u"found" : u"MISSING"});
        if (!found)
            report_.finding(u"There is no " + file.filename().u16string() + u" in the site's directory.",
                            kind == "7000" ? u"Put one there; examples/site/CLIENT.PAR is a start."
                                           : u"Put one there, or every setting has its default; "
                                             u"examples/site/SvrDisp.ini is a start.");
    }

    void keys(std::span<const Key> keys)
    {
        report_.section(u"Settings in force", {u"Section", u"Key", u"Value", u""});
        for (const Key& key : keys) {
            const auto written = settings_.find(key.section, key.key);
            const std::u16string value = written.value_or(key.byDefault);
            std::u16string shown = value;
            if (key.form == Form::secret)
                shown = ado::shownPassword(value);
            if (key.form == Form::connection)
                shown = ado::withoutPasswords(value);
            report_.fact(
                {text::fromUtf8(key.section), text::fromUtf8(key.key), shown, written ? u"" : u"default"});

            const std::u16string name = text::fromUtf8(std::string("[").append(key.section) + "] " + key.key);
            if (key.form == Form::number && !isNumber(value))
                report_.finding(name + u" is not a number: " + inQuotes(value) + u".",
                                u"Write a whole number, or take the line out for " +
                                    std::u16string(key.byDefault) + u".");
            if (key.form == Form::pair && !isPair(value, *key.byDefault == u'\0'))
                report_.finding(name + u" is no position: " + inQuotes(value) + u".",
                                u"Write START or START,LENGTH, each at most 32767.");
            if (key.form == Form::connection || key.form == Form::text || key.form == Form::secret)
                placeholders(name, value, shown, key.form == Form::connection);
        }
    }

    void placeholders(const std::u16string& setting, const std::u16string& value, const std::u16string& shown,
                      bool anywhere)
    {
        std::u16string resolved = value;
        if (setting == u"[CONFIG] PATH" ||
            (anywhere ? settings::resolveAll(resolved) : settings::resolveWhole(resolved)))
            return;
        report_.finding(setting + u" has a placeholder that cannot be resolved: " + shown + u".",
                        u"Set the environment variable of that name for the client's process.");
    }

    void messages(const std::map<int, const char16_t*>& needed)
    {
        const std::string written = settings_.text("MESSAGGI", "NUMMSG");
        const std::u16string count = written.empty() ? u"1" : text::fromUtf8(written);
        if (!isNumber(count) || !fits16Bits(count)) {
            report_.finding(u"[MESSAGGI] NUMMSG is not a number: " + inQuotes(count) + u".",
                            u"Write 11: the number of the last message.");
            return;
        }
        report_.section(u"Messages", {u"Code", u"Reports", u"Text"});
        for (const auto& [code, meaning] : needed) {
            const std::u16string number = decimal(static_cast<std::size_t>(code));
            const auto message = settings_.find("MESSAGGI", text::toUtf8(number)).value_or(u"");
            const bool read = code <= Variant(count).toLong();
            report_.fact({number, meaning, read ? message : u""});
            if (message.empty())
                report_.finding(u"Message " + number + u" has no text.",
                                u"Add a line " + number + u"=... to [MESSAGGI].");
            else if (!read)
                report_.finding(u"Message " + number + u" is not read: NUMMSG is " + count + u".",
                                u"Set [MESSAGGI] NUMMSG to 11.");
        }
    }

    // --- "SQL2" ---

    void database()
    {
        keys(databaseKeys);
        messages(databaseMessages);
        std::u16string connection = settings_.find("SERVER", "CONNECT").value_or(u"");
        std::u16string user = settings_.find("SERVER", "USERNAME").value_or(u"");
        std::u16string password = settings_.find("SERVER", "PASSWORD").value_or(u"");
        if (connection.empty()) {
            report_.finding(u"[SERVER] CONNECT is empty.", u"Write there how the database is reached.");
            return;
        }
        if (!settings::resolveAll(connection) || !settings::resolveWhole(user) ||
            !settings::resolveWhole(password))
            return; // found above
        if (user.empty() && !password.empty())
            report_.finding(u"[SERVER] PASSWORD is not used, since USERNAME is empty.",
                            u"Set USERNAME, or take PASSWORD out.");
        const auto connected = createConnection();
        try {
            connected->Open(connection, user, user.empty() ? std::u16string() : password, -1);
        } catch (const RuntimeError&) {
            report_.finding(u"The database does not open: see the recorded failure.",
                            u"Check [SERVER] CONNECT, that the database runs, and the user's rights.");
            return;
        }
        tables(connected);
    }

    void tables(const std::shared_ptr<Connection>& connection)
    {
        const std::pair<const char16_t*, std::vector<const char16_t*>> tables[] = {
            {u"TABBIBLIOTECHE", {u"CODBIB", u"DESCR", u"FLGMOVIM"}},
            {u"POSSEDUTO", {u"CODBIB", u"INVENTARIO", u"STATO", u"FLGSERV", u"COLLOCAZIONE"}},
            {u"MOVIMENTI", {u"CODBIB", u"INVENTARIO", u"FLGCHIUSO", u"LIVSOLL", u"DATA_SCAD", u"DATA"}},
            {u"TABBLOCCOMAT", {u"CODBLOCMAT", u"MESSAGGIO"}},
        };
        report_.section(u"Database", {u"Table", u"Columns", u""});
        for (const auto& [table, columns] : tables) {
            const bool there = canRead(connection, u"*", table);
            std::u16string found, missing;
            for (const char16_t* const column : columns)
                appendTo(there && canRead(connection, column, table) ? found : missing, column);
            report_.fact({table, found, there && missing.empty() ? u"found" : u"MISSING " + missing});
            if (!there)
                report_.finding(u"The table " + std::u16string(table) + u" is missing, or may not be read.",
                                u"Create it, or let the user read it.");
            else if (!missing.empty())
                report_.finding(u"The table " + std::u16string(table) + u" has no column " + missing + u".",
                                u"Add it; examples/site/schema.sql has every column.");
        }
    }

    static bool canRead(const std::shared_ptr<Connection>& connection, std::u16string_view column,
                        std::u16string_view table)
    {
        try {
            const auto rows = createRecordset();
            rows->Open(u"SELECT " + std::u16string(column) + u" FROM " + std::u16string(table) +
                           u" WHERE 1 = 0",
                       connection, ado::cursorDynamic, ado::lockReadOnly, ado::commandText);
            return true;
        } catch (const RuntimeError&) {
            return false;
        }
    }

    // --- "SQL" ---

    void gateway()
    {
        keys(gatewayKeys);
        messages(gatewayMessages);
        const std::u16string timeout = settings_.find("CLIENT", "TIMEOUT").value_or(u"5");
        if (isNumber(timeout) && Variant(timeout).toLong() > 2147483)
            report_.finding(u"[CLIENT] TIMEOUT is too long: every question fails.",
                            u"Use at most 2147483 seconds.");
        const std::u16string path = settings_.find("CONFIG", "PATH").value_or(u"");
        const std::u16string id = settings_.find("CLIENT", "ID").value_or(u"0");
        exchangeDirectory(path, u"[CONFIG] PATH");
        std::u16string client = isNumber(id) ? text::decimal(Variant(id).toLong()) : u"0";
        client.insert(0, client.size() < 3 ? 3 - client.size() : 0, u'0');
        const fs::path late = fs::path(path) / (u"ZSQL_" + client + u".CL2");
        if (fs::exists(late))
            report_.finding(u"An answer that nobody has waited for lies in " + late.u16string() + u".",
                            u"Delete it: the next question would take it as its answer.");
    }

    void exchangeDirectory(const fs::path& directory, const std::u16string& setting)
    {
        std::error_code failed;
        if (directory.empty()) {
            report_.finding(setting + u" names no exchange directory.",
                            u"Write there the directory of the exchange.");
        } else if (!fs::is_directory(directory, failed)) {
            report_.finding(u"There is no exchange directory " + directory.u16string() + u".",
                            u"Create it, or correct " + setting + u".");
        } else {
            const fs::path probe = directory / "vqloan-check";
            const bool written = static_cast<bool>(std::ofstream(probe) << "probe" << std::flush);
            fs::remove(probe, failed);
            if (!written)
                report_.finding(u"No file can be written in " + directory.u16string() + u".",
                                u"Let the clients' users write there.");
        }
    }

    // --- "7000" ---

    void host()
    {
        if (!fs::exists(site_.parameters()))
            return;
        const Parameters parameters(site_);
        const auto& lines = parameters.lines();
        parameterLines(parameters);
        libraryLines(lines);
        if (lines.size() >= 3) {
            const std::u16string directory = parameters.value(3);
            exchangeDirectory(directory, u"Line 3 of CLIENT.PAR");
            if (!directory.empty() && directory.back() != u'/' && directory.back() != u'\\')
                report_.finding(u"Line 3 of CLIENT.PAR does not end in a path separator.",
                                u"Add it: file names are put directly behind.");
            if (directory.starts_with(u' '))
                report_.finding(u"Line 3 of CLIENT.PAR has a blank after its \"=\".",
                                u"Take it out: it counts as part of the directory's name.");
        }
    }

    void parameterLines(const Parameters& parameters)
    {
        static constexpr const char16_t* meanings[] = {
            u"client number",        u"wait limit in seconds",
            u"exchange directory",   u"(not used, a number)",
            u"(not used, a number)", u"answer width",
            u"(not used, a number)", u"(not used)",
            u"(not used)",           u"(not used, a number)",
            u"time-out text",        u"text for an empty answer",
            u"(not used)",           u"local key and its answer; skipped group"};
        report_.section(u"Parameters in force", {u"Line", u"Meaning", u"Value"});
        const auto& lines = parameters.lines();
        for (std::size_t i = 1; i <= std::min(lines.size(), std::size(meanings)); ++i)
            report_.fact({decimal(i), meanings[i - 1], i == 14 ? lines[i - 1] : parameters.value(i)});
        if (lines.size() < 14) {
            const bool lineFeeds = !lines.empty() && lines[0].find(u'\n') != std::u16string::npos;
            report_.finding(u"CLIENT.PAR needs 14 parameter lines and has " + decimal(lines.size()) + u".",
                            lineFeeds
                                ? u"Its lines end in LF alone; CR LF is needed: sed -i 's/$/\\r/' CLIENT.PAR"
                                : u"Fill it up, with empty lines where nothing is used.");
            return;
        }
        for (const std::size_t number : {4u, 5u, 6u, 7u, 10u})
            if (!fits16Bits(parameters.value(number)))
                report_.finding(u"Line " + decimal(number) + u" of CLIENT.PAR is beyond 32767.",
                                u"Write a smaller number, even where it is not used.");
        if (fits16Bits(parameters.value(6)) && numbers::leadingNumber(parameters.value(6)) < 3)
            report_.finding(u"Line 6 of CLIENT.PAR leaves no room for an answer.",
                            u"Write the width of an answer plus 2, for example 80.");
        if (numbers::leadingNumber(parameters.value(2)) <= 0)
            report_.finding(u"Line 2 of CLIENT.PAR lets no host answer in time.",
                            u"Write the seconds to wait.");
        const auto sign = lines[13].find(u'=');
        if (sign == std::u16string::npos)
            report_.finding(u"Line 14 of CLIENT.PAR has no \"=\": every question fails.",
                            u"Write the code of the skipped group, \"=\" and its answer.");
        else if (text::trim(std::u16string_view(lines[13]).substr(0, sign)).empty())
            report_.finding(
                u"Line 14 of CLIENT.PAR has nothing before its \"=\": every question gets its text.",
                u"Write the code of the skipped group there.");
    }

    void libraryLines(const std::vector<std::u16string>& lines)
    {
        report_.section(u"Libraries", {u"Line", u"Code", u"Group", u"Name"});
        std::set<std::u16string> codes;
        std::size_t count = 0;
        for (std::size_t i = 0; i < lines.size(); ++i) {
            const std::u16string_view trimmed = text::trim(lines[i]);
            if (text::upper(trimmed.substr(0, 7)) != u"CODBIB=")
                continue;
            const std::u16string name = u"Line " + decimal(i + 1) + u" of CLIENT.PAR";
            const auto field = [&](std::size_t at, std::size_t length) {
                return std::u16string(trimmed.size() > at ? trimmed.substr(at, length) : u"");
            };
            report_.fact({decimal(i + 1), field(7, 2), field(10, 2), field(13, trimmed.npos)});
            if (i < 14)
                report_.finding(name + u" is a library line among the 14 parameter lines.",
                                u"Move it below line 14.");
            if (!trimmed.starts_with(u"codbib=") || trimmed.size() != lines[i].size())
                report_.finding(name + u" is a library line to one reader only.",
                                u"Write codbib= in lower case, with nothing before it.");
            if (trimmed.size() < 14)
                report_.finding(name + u" has no library name: the library counts as not listed.",
                                u"Write codbib=CC,GG,Name.");
            if (!codes.insert(field(7, 2)).second)
                report_.finding(name + u" repeats the library code " + field(7, 2) + u".",
                                u"Take it out: the first one counts.");
            ++count;
        }
        if (count == 0)
            report_.finding(u"CLIENT.PAR lists no library.", u"Add lines codbib=CC,GG,Name below line 14.");
        if (count > 10)
            report_.finding(u"CLIENT.PAR lists " + decimal(count) + u" libraries; there is room for 10.",
                            u"Take out the others, or nothing can be asked.");
    }

    // --- The component itself ---

    void opening(const std::string& kind)
    {
        Component component(site_);
        const bool opened = component.open(kind);
        report_.section(u"The component", {u"Kind", u"Opens", u"Recorded failure"});
        report_.fact({text::fromUtf8(kind), opened ? u"yes" : u"NO",
                      opened ? u"" : text::fromUtf8(component.lastFailure().text())});
        if (!opened && report_.clean())
            report_.finding(u"The component does not open the back end.", u"See the recorded failure.");
    }

    const Site& site_;
    Settings settings_;
    Report report_;
};

} // namespace

int check(const CheckOptions& options)
{
    const Site site(options.site);
    const Report report = Checker(site).run(options.kind);
    const int columns = program::terminalColumns(program::Stream::output);
    report.print(std::cout, columns > 0 ? static_cast<std::size_t>(columns) : 80);
    return report.clean() ? allWell : someFailed;
}

} // namespace vqloan::client
