// A database file of the embedded kind that a test fills and changes behind the component's back.
#pragma once

#include <sqlite3.h>

#include <stdexcept>
#include <string>

#include "ScratchDirectory.h"

namespace vqloan::test {

class SqliteFile
{
public:
    explicit SqliteFile(const std::string& script = {})
    {
        sqlite3_open(path().c_str(), &database_);
        execute(script);
    }
    ~SqliteFile() { sqlite3_close(database_); }
    SqliteFile(const SqliteFile&) = delete;
    SqliteFile& operator=(const SqliteFile&) = delete;

    std::filesystem::path path() const { return directory_ / "library.db"; }
    std::string connectionText() const { return "Provider=SQLite;Data Source=" + path().string(); }

    // On a connection that stays open: what a script begins, it must end. Throws what the database says.
    void execute(const std::string& script)
    {
        if (sqlite3_exec(database_, script.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK)
            throw std::runtime_error(script + ": " + sqlite3_errmsg(database_));
    }

private:
    ScratchDirectory directory_;
    sqlite3* database_ = nullptr;
};

} // namespace vqloan::test
