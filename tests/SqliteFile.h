// A database file of the embedded kind that a test fills and changes behind the component's back.
#pragma once

#include <sqlite3.h>

#include <filesystem>
#include <stdexcept>
#include <string>

#include "platform/runtime/Text.h"

namespace vqloan::test {

// In a new directory of its own, removed with the object.
class SqliteFile
{
public:
    explicit SqliteFile(const std::string& script = {})
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "vqloan-db-XXXXXX").string();
        if (!mkdtemp(pattern.data()))
            throw std::runtime_error("no scratch directory");
        directory_ = pattern;
        execute(script);
    }
    ~SqliteFile()
    {
        sqlite3_close(database_);
        std::filesystem::remove_all(directory_);
    }
    SqliteFile(const SqliteFile&) = delete;
    SqliteFile& operator=(const SqliteFile&) = delete;

    std::filesystem::path path() const { return directory_ / "library.db"; }
    std::u16string connectionText() const
    {
        return u"Provider=SQLite;Data Source=" + text::fromUtf8(path().string());
    }

    // On a connection that stays open: what a script begins, it must end.
    void execute(const std::string& script)
    {
        if (!database_ && sqlite3_open(path().c_str(), &database_) != SQLITE_OK)
            throw std::runtime_error("cannot create the database file");
        if (sqlite3_exec(database_, script.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK)
            throw std::runtime_error(script + ": " + sqlite3_errmsg(database_));
    }

private:
    std::filesystem::path directory_;
    sqlite3* database_ = nullptr;
};

} // namespace vqloan::test
