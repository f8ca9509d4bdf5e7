// vqloan check: why a site does not work, and what to do about it. The settings are read as the component
// reads them, and in the end the component itself opens the back end.
#include <fstream>
#include <iostream>
#include <memory>
#include <set>

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
#include "platform/runtime/OsFile.h"
#include "platform/runtime/RuntimeError.h"
#include "platform/runtime/Text.h"
#include "request/Deadline.h"
#include "site/Database.h"
#include "site/Exchange.h"
#include "site/HostFile.h"
#include "site/Messages.h"
#include "site/Settings.h"

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

template <class Step> bool succeeds(Step step)
{
    try {
        step();
        return true;
    } catch (const RuntimeError&) {
        return false;
    }
}

bool fits16Bits(std::u16string_view number)
{
    return succeeds([&] { numbers::toInteger(numbers::leadingNumber(number)); });
}

bool isNumber(const std::u16string& value, site::Form form)
{
    return succeeds(
        [&] { form == site::Form::shortNumber ? Variant(value).toInteger() : Variant(value).toLong(); });
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
        report_.fact({u"component", os::pathText(site_.source()),
                      site_.ownComponent() ? u"found" : u"the site has none of its own"});
        const fs::path file = kind == "7000" ? site_.parameters() : site_.settings();
        const bool found = fs::exists(file);
        report_.fact({u"settings", os::pathText(file), found ? u"found" : u"MISSING"});
        if (!found)
            report_.finding(u"There is no " + file.filename().u16string() + u" in the site's directory.",
                            kind == "7000" ? u"Put one there; examples/site/CLIENT.PAR is a start."
                                           : u"Put one there, or every setting has its default; "
                                             u"examples/site/SvrDisp.ini is a start.");
    }

    void settings(Kind kind)
    {
        report_.section(u"Settings in force", {u"Section", u"Key", u"Value", u""});
        for (const site::Setting& setting : site::settings)
            if (setting.isReadBy(kind))
                judge(setting);
    }

    std::u16string value(const site::Setting& setting) const
    {
        return settings_.find(setting).value_or(std::u16string(setting.byDefault));
    }

    void judge(const site::Setting& setting)
    {
        using site::Form;
        const std::u16string written = value(setting), byDefault(setting.byDefault);
        std::u16string shown = written;
        if (setting.form == Form::secret)
            shown = ado::shownPassword(written);
        if (setting.form == Form::connection)
            shown = ado::withoutPasswords(written);
        report_.fact({std::u16string(setting.section), std::u16string(setting.key), shown,
                      settings_.find(setting) ? u"" : u"default"});

        const std::u16string name =
            std::u16string(u"[").append(setting.section).append(u"] ").append(setting.key);
        switch (setting.form) {
        case Form::number:
        case Form::shortNumber:
            if (!isNumber(written, setting.form))
                report_.finding(name + u" is not a number: " + inQuotes(written) + u".",
                                u"Write a whole number, or take the line out for " + byDefault + u".");
            break;
        case Form::pair:
            if (!isPair(written, byDefault.empty()))
                report_.finding(name + u" is no position: " + inQuotes(written) + u".",
                                u"Write START or START,LENGTH, each at most 32767.");
            break;
        case Form::account:
        case Form::secret:
        case Form::connection:
            if (std::u16string resolved = written;
                !(setting.form == Form::connection ? settings::resolveAll(resolved)
                                                   : settings::resolveWhole(resolved)))
                report_.finding(name + u" has a placeholder that cannot be resolved: " + shown + u".",
                                u"Set the environment variable of that name for the client's process.");
            break;
        case Form::text:
            break;
        }
    }

    void messages(Kind kind)
    {
        const site::Setting& setting = site::setting(u"MESSAGGI", u"NUMMSG");
        const std::u16string count = value(setting), all = decimal(std::size(site::messages));
        if (!isNumber(count, setting.form))
            return; // found above
        report_.section(u"Messages", {u"Code", u"Reports", u"Text"});
        for (std::size_t i = 0; i < std::size(site::messages); ++i) {
            const auto& [code, reporter, status, situation] = site::messages[i];
            if (reporter != kind)
                continue;
            const std::u16string number(code), message = value(site::messageText(code));
            const bool read = static_cast<std::int32_t>(i) < Variant(count).toLong();
            report_.fact({number, std::u16string(situation), read ? message : u""});
            if (message.empty())
                report_.finding(u"Message " + number + u" has no text.",
                                u"Add a line " + number + u"=... to [MESSAGGI].");
            else if (!read)
                report_.finding(u"Message " + number + u" is not read: NUMMSG is " + count + u".",
                                u"Set [MESSAGGI] NUMMSG to " + all + u".");
        }
    }

    // --- "SQL2" ---

    void database()
    {
        settings(Kind::database);
        messages(Kind::database);
        std::u16string connection = value(site::setting(u"SERVER", u"CONNECT"));
        std::u16string user = value(site::setting(u"SERVER", u"USERNAME"));
        std::u16string password = value(site::setting(u"SERVER", u"PASSWORD"));
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
        report_.section(u"Database", {u"Table", u"Columns", u""});
        for (const auto& [name, columns] : site::tables) {
            const std::u16string table(name);
            const bool there = canRead(connection, u"*", table);
            std::u16string found, missing;
            for (const std::u16string& column : split(columns, u", "))
                appendTo(there && canRead(connection, column, table) ? found : missing, column);
            report_.fact({table, found, there && missing.empty() ? u"found" : u"MISSING " + missing});
            if (!there)
                report_.finding(u"The table " + table + u" is missing, or may not be read.",
                                u"Create it, or let the user read it.");
            else if (!missing.empty())
                report_.finding(u"The table " + table + u" has no column " + missing + u".",
                                u"Add it; examples/site/schema.sql has every column.");
        }
    }

    static bool canRead(const std::shared_ptr<Connection>& connection, std::u16string_view column,
                        std::u16string_view table)
    {
        return succeeds([&] {
            createRecordset()->Open(u"SELECT " + std::u16string(column) + u" FROM " + std::u16string(table) +
                                        u" WHERE 1 = 0",
                                    connection, ado::cursorDynamic, ado::lockReadOnly, ado::commandText);
        });
    }

    // --- "SQL" ---

    void gateway()
    {
        settings(Kind::gateway);
        messages(Kind::gateway);
        const std::u16string timeout = value(site::setting(u"CLIENT", u"TIMEOUT"));
        if (isNumber(timeout, site::Form::number) &&
            !succeeds([&] { deadlineAfter(Variant(timeout).toLong()); }))
            report_.finding(u"[CLIENT] TIMEOUT is too long: every question fails.",
                            u"Write as many seconds as a reader would wait, for example 5.");
        const std::u16string path = value(site::setting(u"CONFIG", u"PATH"));
        const std::u16string id = value(site::setting(u"CLIENT", u"ID"));
        exchangeDirectory(path, u"[CONFIG] PATH");
        if (!isNumber(id, site::Form::number))
            return;
        const fs::path late = fs::path(path) / site::gatewayFile(Variant(id).toLong(), site::answerExtension);
        if (fs::exists(late))
            report_.finding(u"An answer that nobody has waited for lies in " + os::pathText(late) + u".",
                            u"Delete it: the next question would take it as its answer.");
    }

    void exchangeDirectory(const fs::path& directory, const std::u16string& setting)
    {
        std::error_code failed;
        if (directory.empty()) {
            report_.finding(setting + u" names no exchange directory.",
                            u"Write there the directory of the exchange.");
        } else if (!fs::is_directory(directory, failed)) {
            report_.finding(u"There is no exchange directory " + os::pathText(directory) + u".",
                            u"Create it, or correct " + setting + u".");
        } else {
            const fs::path probe = directory / "vqloan-check";
            const bool written = static_cast<bool>(std::ofstream(probe) << "probe" << std::flush);
            fs::remove(probe, failed);
            if (!written)
                report_.finding(u"No file can be written in " + os::pathText(directory) + u".",
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
        constexpr std::size_t most = std::size(site::parameterLines);
        report_.section(u"Parameters in force", {u"Line", u"Meaning", u"Value"});
        const auto& lines = parameters.lines();
        for (std::size_t i = 1; i <= std::min(lines.size(), most); ++i)
            report_.fact({decimal(i), std::u16string(site::parameterLines[i - 1].meaning),
                          i == most ? lines[i - 1] : parameters.value(i)});
        if (lines.size() < most) {
            const bool lineFeeds = !lines.empty() && lines[0].find(u'\n') != std::u16string::npos;
            report_.finding(u"CLIENT.PAR needs 14 parameter lines and has " + decimal(lines.size()) + u".",
                            lineFeeds
                                ? u"Its lines end in LF alone; CR LF is needed: sed -i 's/$/\\r/' CLIENT.PAR"
                                : u"Fill it up, with empty lines where nothing is used.");
            return;
        }
        for (std::size_t number = 1; number <= most; ++number)
            if (site::parameterLines[number - 1].form == site::LineForm::integer &&
                !fits16Bits(parameters.value(number)))
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
            if (!site::isLibraryLine(trimmed))
                continue;
            const std::u16string name = u"Line " + decimal(i + 1) + u" of CLIENT.PAR";
            const site::Library library = site::libraryOf(trimmed);
            report_.fact({decimal(i + 1), library.code, library.group, library.name});
            if (i < std::size(site::parameterLines))
                report_.finding(name + u" is a library line among the 14 parameter lines.",
                                u"Move it below line 14.");
            if (!trimmed.starts_with(site::libraryKey) || trimmed.size() != lines[i].size())
                report_.finding(name + u" is a library line to one reader only.",
                                u"Write codbib= in lower case, with nothing before it.");
            if (library.name.empty())
                report_.finding(name + u" has no library name: the library counts as not listed.",
                                u"Write codbib=CC,GG,Name.");
            if (!codes.insert(library.code).second)
                report_.finding(name + u" repeats the library code " + library.code + u".",
                                u"Take it out: the first one counts.");
            ++count;
        }
        if (count == 0)
            report_.finding(u"CLIENT.PAR lists no library.", u"Add lines codbib=CC,GG,Name below line 14.");
        if (count > site::mostLibraries)
            report_.finding(u"CLIENT.PAR lists " + decimal(count) + u" libraries; there is room for " +
                                decimal(site::mostLibraries) + u".",
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
