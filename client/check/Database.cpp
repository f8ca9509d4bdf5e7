// The library database: whether it opens, and whether what is read is there.
#include "site/Database.h"
#include "Answer.h"
#include "Failure.h"
#include "check/Checks.h"
#include "check/Rows.h"
#include "component/DispSvr.h"
#include "platform/ado/DriverFacts.h"
#include "platform/runtime/OsFile.h"
#include "platform/runtime/RuntimeError.h"
#include "platform/runtime/Text.h"

namespace vqloan::client {

namespace {

bool holdsOneOf(std::u16string_view text, std::initializer_list<std::u16string_view> signs)
{
    const std::u16string upper = text::upper(text);
    for (const std::u16string_view sign : signs)
        if (upper.find(text::upper(sign)) != upper.npos)
            return true;
    return false;
}

// What the database said when it refused the statement; empty where it did not.
std::u16string refusalOf(const std::shared_ptr<Connection>& connection, const std::u16string& statement)
{
    try {
        run(connection, statement);
        return {};
    } catch (const RuntimeError& error) {
        return error.description.empty() ? u"no reason is told" : error.description;
    }
}

std::u16string emptySelection(std::u16string_view columns, std::u16string_view table)
{
    return u"SELECT " + std::u16string(columns) + u" FROM " + std::u16string(table) + u" WHERE 1 = 0";
}

void tellTable(const Place& place, const std::u16string& refusal, Report& report)
{
    if (holdsOneOf(refusal, {u"42501", u"denied", u"permission", u"not authorized", u"prohibited"}))
        report.finding(place, u"The database user may not read it: " + refusal,
                       u"GRANT SELECT on it to the user of [SERVER] USERNAME.");
    else if (holdsOneOf(refusal, {u"no such table", u"42P01", u"42S02", u"doesn't exist"}))
        report.finding(
            place, u"There is no such table: " + refusal,
            u"Create it, or let the user's schema search path find it; docs/databases.md says how.");
    else
        report.finding(place, u"It cannot be read: " + refusal, u"See what the database says.");
}

void checkTimeLimits(const std::shared_ptr<Connection>& connection, const Settings& settings, Report& report)
{
    if (ado::keepsTimeLimits(*connection))
        return;
    report.fact({u"time limits", u"", u"not kept by this driver"});
    const site::Setting& limit = site::setting(u"SERVER", u"COMMTIMEOUT");
    if (Variant(settings.value(limit)).toLong() > 0)
        report.finding(settings.placeOf(limit),
                       u"This database's driver does not keep time limits of queries.",
                       u"Write 0, and set a limit for the user at the server; docs/databases.md says how.");
}

} // namespace

Failure recordedFailure(DispSvr& svr)
{
    Variant number, source, description, systemError;
    svr.LastError(number.address(), source.address(), description.address(), nullptr, nullptr,
                  systemError.address());
    return {number.toLong(), text::toUtf8(source.toText()), text::toUtf8(description.toText()),
            systemError.toLong()};
}

bool checkDatabase(const Site& site, const Settings& settings, Report& report)
{
    DispSvr svr;
    svr.SettingsDir = os::pathText(site.directory());
    const bool opened = !svr.OpenDatabase(site::nameOf(Kind::database));
    const Failure failure = opened ? Failure{} : recordedFailure(svr);
    report.section(u"Database", {u"What", u"Columns", u"State"});
    report.fact({u"opening", u"", opened ? u"opens" : text::fromUtf8(failure.text())});
    if (!svr.IsConnected()) {
        explainOpening(settings, text::fromUtf8(failure.description), report);
        return false;
    }
    checkTimeLimits(svr.Conn, settings, report);
    const bool isReadable = checkTables(svr.Conn, report);
    checkIndexes(svr.Conn, report);
    if (isReadable && opened)
        checkSamples(svr, settings, report);
    else if (isReadable)
        report.finding({u"database", 0, u"TABBLOCCOMAT"},
                       u"The kind does not open: " + text::fromUtf8(failure.text()),
                       u"See what the database says.");
    return opened;
}

bool checkTables(const std::shared_ptr<Connection>& connection, Report& report)
{
    bool allThere = true;
    for (const auto& [name, columns, key] : site::tables) {
        const std::u16string table(name);
        const Place place{u"database", 0, table};
        std::u16string found, missing;
        if (const std::u16string refusal = refusalOf(connection, emptySelection(u"*", table));
            !refusal.empty()) {
            report.fact({table, u"", u"NOT READABLE"});
            tellTable(place, refusal, report);
            allThere = false;
            continue;
        }
        for (const std::u16string& column : split(columns, u", ")) {
            const bool isThere = refusalOf(connection, emptySelection(column, table)).empty();
            appendTo(isThere ? found : missing, column);
            if (!isThere)
                report.finding({u"database", 0, joined({table, u".", column})},
                               u"The table has no such column.",
                               u"Add it; examples/site/schema.sql has every column.");
        }
        report.fact({table, found, missing.empty() ? u"found" : u"MISSING " + missing});
        allThere = allThere && missing.empty();
    }
    return allThere;
}

} // namespace vqloan::client
