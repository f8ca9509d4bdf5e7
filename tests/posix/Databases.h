// The databases that the availability cases run on. Each holds the network's rows and is reached as a site
// would reach it.
#pragma once

#include <memory>
#include <ostream>
#include <string>

#include "Network.h"
#include "PostgresServer.h"
#include "SqliteFile.h"

namespace vqloan::test {

class LibraryDatabase
{
public:
    virtual ~LibraryDatabase() = default;
    virtual std::string connectionText() const = 0;
    // Behind the component's back; throws what the database says.
    virtual void run(const std::string& statements) = 0;
    // Whether a column of dates gives any text that it holds.
    virtual bool isUntyped() const = 0;
};

// A file, reached directly or through its ODBC driver.
class SqliteDatabase final : public LibraryDatabase
{
public:
    SqliteDatabase(const std::string& way, bool isUntyped)
        : connectionText_(way + file_.path().string()), isUntyped_(isUntyped)
    {}

    std::string connectionText() const override { return connectionText_; }
    bool isUntyped() const override { return isUntyped_; }
    void run(const std::string& statements) override { file_.execute(statements); }

private:
    SqliteFile file_;
    std::string connectionText_;
    bool isUntyped_;
};

class PostgresDatabase final : public LibraryDatabase
{
public:
    std::string connectionText() const override { return server_.readersConnectionText(); }
    bool isUntyped() const override { return false; }
    void run(const std::string& statements) override { server_.execute(statements); }

private:
    PostgresServer server_;
};

struct DatabaseKind
{
    const char* name;
    std::string (*whyNot)(); // empty where the tests can have one
    std::unique_ptr<LibraryDatabase> (*make)();
    bool cutsToBytes = false; // a driver without wide functions; texts beyond ASCII may be kept from it
};

inline void PrintTo(const DatabaseKind& kind, std::ostream* out)
{
    *out << kind.name;
}

inline std::unique_ptr<LibraryDatabase> sqlite()
{
    return std::make_unique<SqliteDatabase>("Provider=SQLite;Data Source=", true);
}
inline std::unique_ptr<LibraryDatabase> sqliteOverOdbc()
{
    return std::make_unique<SqliteDatabase>("Driver={SQLite3};Database=", false); // makes a date of any text
}
inline std::unique_ptr<LibraryDatabase> postgres()
{
    return std::make_unique<PostgresDatabase>();
}

inline const DatabaseKind databaseKinds[] = {
    {"Sqlite", [] { return std::string(); }, sqlite},
    {"SqliteOverOdbc",
     [] { return hasOdbcDriver("SQLite3") ? "" : std::string("SQLite's ODBC driver is not installed"); },
     sqliteOverOdbc, true},
    {"Postgres", PostgresServer::whyNot, postgres},
};

} // namespace vqloan::test
