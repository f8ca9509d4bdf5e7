// The databases that the availability cases run on. Each holds the network's rows and is reached as a site
// would reach it.
#pragma once

#include <sqlite3.h>

#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>

#include "Network.h"
#include "PostgresServer.h"

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

// A file in that directory, reached directly or through its ODBC driver.
class SqliteDatabase final : public LibraryDatabase
{
public:
    SqliteDatabase(const ScratchDirectory& directory, std::string connectionText, bool isUntyped)
        : connectionText_(std::move(connectionText) + (directory / "library.db").string()),
          isUntyped_(isUntyped)
    {
        sqlite3_open((directory / "library.db").c_str(), &handle_);
    }
    ~SqliteDatabase() override { sqlite3_close(handle_); }

    std::string connectionText() const override { return connectionText_; }
    bool isUntyped() const override { return isUntyped_; }
    void run(const std::string& statements) override
    {
        if (sqlite3_exec(handle_, statements.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK)
            throw std::runtime_error(sqlite3_errmsg(handle_));
    }

private:
    std::string connectionText_;
    bool isUntyped_;
    sqlite3* handle_ = nullptr;
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
    std::unique_ptr<LibraryDatabase> (*make)(const ScratchDirectory& directory);
    bool cutsToBytes = false; // a driver without wide functions; texts beyond ASCII may be kept from it
};

inline void PrintTo(const DatabaseKind& kind, std::ostream* out)
{
    *out << kind.name;
}

inline const DatabaseKind databaseKinds[] = {
    {"Sqlite", [] { return std::string(); },
     [](const ScratchDirectory& directory) -> std::unique_ptr<LibraryDatabase> {
         return std::make_unique<SqliteDatabase>(directory, "Provider=SQLite;Data Source=", true);
     }},
    {"SqliteOverOdbc",
     [] { return hasOdbcDriver("SQLite3") ? "" : std::string("SQLite's ODBC driver is not installed"); },
     [](const ScratchDirectory& directory) -> std::unique_ptr<LibraryDatabase> {
         return std::make_unique<SqliteDatabase>(directory,
                                                 "Driver={SQLite3};Database=", false); // makes a date of it
     },
     true},
    {"Postgres", PostgresServer::whyNot,
     [](const ScratchDirectory&) -> std::unique_ptr<LibraryDatabase> {
         return std::make_unique<PostgresDatabase>();
     }},
};

} // namespace vqloan::test
