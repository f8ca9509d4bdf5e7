// The databases that the availability cases run on. Each holds the network's rows and is reached as a site
// would reach it.
#pragma once

#include <functional>
#include <memory>
#include <ostream>
#include <string>

#include "MariaDbServer.h"
#include "Network.h"
#include "PostgresServer.h"
#include "SqliteFile.h"

namespace vqloan::test {

struct LibraryDatabase
{
    std::string connectionText;
    std::function<void(const std::string& statements)> run; // behind the component's back; may throw
};

struct DatabaseKind
{
    const char* name;
    std::string (*whyNot)(); // empty where the tests can have one
    LibraryDatabase (*make)();
    bool isUntyped = false;   // a column of dates gives any text that it holds
    bool cutsToBytes = false; // a driver without wide functions; texts beyond ASCII may be kept from it
};

inline void PrintTo(const DatabaseKind& kind, std::ostream* out)
{
    *out << kind.name;
}

// A file, reached directly or through its ODBC driver.
inline LibraryDatabase sqlite(const std::string& way)
{
    const auto file = std::make_shared<SqliteFile>();
    return {way + file->path().string(), [file](const auto& statements) { file->execute(statements); }};
}
template <class Server> LibraryDatabase onServer()
{
    const auto server = std::make_shared<Server>();
    return {server->readersConnectionText(),
            [server](const auto& statements) { server->execute(statements); }};
}

inline const DatabaseKind databaseKinds[] = {
    {"Sqlite", [] { return std::string(); }, [] { return sqlite("Provider=SQLite;Data Source="); }, true},
    {"SqliteOverOdbc",
     [] { return hasOdbcDriver("SQLite3") ? "" : std::string("SQLite's ODBC driver is not installed"); },
     [] { return sqlite("Driver={SQLite3};Database="); }, false, true}, // it makes a date of any text
    {"Postgres", PostgresServer::whyNot, onServer<PostgresServer>},
    {"MariaDb", MariaDbServer::whyNot, onServer<MariaDbServer>},
};

} // namespace vqloan::test
