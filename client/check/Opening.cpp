// Why a database does not open.
#include <system_error>

#include "check/Checks.h"
#include "platform/ado/ConnectionString.h"
#include "platform/program/Account.h"
#include "platform/runtime/OsFile.h"
#include "platform/runtime/RuntimeError.h"
#include "platform/runtime/Text.h"

namespace fs = std::filesystem;

namespace vqloan::client {

namespace {

// What a message tells of, by the words that the products use. The first one that holds counts; several
// messages name the state of another one behind it.
struct Cause
{
    std::u16string_view sign, cause, advice;
};

constexpr Cause causes[] = {
    {u"SQLite error 26", u"the file", u"It is no SQLite database, or an encrypted one: correct Data Source."},
    {u"SQLite error 11", u"the file", u"It was cut short or damaged: put a good copy in its place."},
    {u"SQLite error 5)", u"a lock", u"A program keeps the file locked: end it, or raise [SERVER] TIMEOUT."},
    {u"is missing.", u"CONNECT names no database",
     u"Write Provider=, DSN= or Driver=, and where the data are."},
    {u"malformed", u"CONNECT cannot be read",
     u"Write KEY=VALUE pairs with semicolons between; quote a value that holds one."},
    {u"Provider cannot be found", u"the provider", u"Write Provider=SQLite, DSN= or Driver= in CONNECT."},
    {u"IM002", u"the data source or driver name",
     u"Write a name that odbc.ini has (DSN=) or odbcinst.ini (Driver=); odbcinst -q -s and -q -d list them."},
    {u"IM003", u"the driver", u"Install the driver's package."},
    {u"open lib", u"the driver", u"Install the driver's package."},
    {u"translate host name", u"the host", u"Correct the server's name in CONNECT."},
    {u"Unknown server host", u"the host", u"Correct the server's name in CONNECT."},
    {u"Unknown MySQL server host", u"the host", u"Correct the server's name in CONNECT."},
    {u"to database '", u"the database's name, or the user's rights",
     u"Correct the database's name in CONNECT, or let the user in: GRANT SELECT."},
    {u"password", u"user or password", u"Correct [SERVER] USERNAME and PASSWORD."},
    {u"Access denied", u"user or password", u"Correct [SERVER] USERNAME and PASSWORD."},
    {u"28P01", u"user or password", u"Correct [SERVER] USERNAME and PASSWORD."},
    {u"28000", u"user or password", u"Correct [SERVER] USERNAME and PASSWORD."},
    {u"role \"", u"the user", u"Correct [SERVER] USERNAME, or create the user."},
    {u"pg_hba.conf", u"the server's access rules", u"Let the server accept this user from this machine."},
    {u"Unknown database", u"the database's name", u"Correct the database's name in CONNECT."},
    {u"does not exist", u"the database's name", u"Correct the database's name in CONNECT."},
    {u"refused", u"host or port", u"Start the server, or correct its name and port in CONNECT."},
    {u"Can't connect", u"host or port", u"Start the server, or correct its name and port in CONNECT."},
    {u"timeout", u"host or network", u"Nobody answers there: correct the server's name and port in CONNECT."},
    {u"08001", u"host or port", u"Start the server, or correct its name and port in CONNECT."},
    {u"08S01", u"host or network", u"The connection was lost: see the server's log."},
};

// The file that a SQLite text names, which says less of itself than can be seen.
std::u16string fileCause(std::u16string_view connect)
{
    const std::u16string account = text::fromUtf8(program::accountName());
    try {
        const ConnectionString connection(connect, ConnectionString::Placeholders::mayStandAlone);
        const std::u16string* const source = connection.find(u"Data Source");
        if (!source || source->find(site::placeholderSign) != source->npos)
            return {};
        std::error_code failed;
        const fs::path path = os::nativePath(*source);
        const std::u16string relative =
            path.is_relative() ? u", seen from where the client was started" : u"";
        if (!os::stateOf(os::pathText(path)))
            return u"there is no file " + *source + relative;
        if (fs::is_directory(path, failed))
            return *source + u" is a directory";
        return u"the account " + account + u" may not read " + *source;
    } catch (const RuntimeError&) {
        return {};
    }
}

} // namespace

void explainOpening(const Settings& settings, std::u16string_view failure, Report& report)
{
    const site::Setting& setting = site::setting(u"SERVER", u"CONNECT");
    const Place place = settings.placeOf(setting);
    std::u16string what = u"The database does not open: " + std::u16string(failure);
    if (failure.find(u"SQLite error 14)") != failure.npos ||
        failure.find(u"SQLite error 10)") != failure.npos) {
        const std::u16string cause = fileCause(settings.value(setting));
        report.finding(place, what + (cause.empty() ? u"" : u": " + cause) + u".",
                       u"Correct Data Source, or let the account read the file and its directory.");
        return;
    }
    const std::u16string upper = text::upper(failure);
    for (const Cause& cause : causes)
        if (upper.find(text::upper(cause.sign)) != upper.npos) {
            report.finding(place,
                           what + (what.ends_with(u'.') ? u" The cause: " : u". The cause: ") +
                               std::u16string(cause.cause) + u".",
                           std::u16string(cause.advice));
            return;
        }
    report.finding(place, std::move(what), u"docs/databases.md has the causes of such messages.");
}

} // namespace vqloan::client
