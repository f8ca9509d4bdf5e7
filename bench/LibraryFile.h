// The file of the embedded database that benchmarks ask about.
#pragma once

#include <sqlite3.h>

#include <filesystem>
#include <stdexcept>
#include <string>

#include "Copies.h"

namespace vqloan::bench {

inline void check(int result, sqlite3* database)
{
    if (result != SQLITE_OK && result != SQLITE_ROW && result != SQLITE_DONE)
        throw std::runtime_error(sqlite3_errmsg(database));
}

// In a directory of its own, removed with the object.
class LibraryFile
{
public:
    explicit LibraryFile(int held)
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "vqloan-bench-XXXXXX").string();
        if (!mkdtemp(pattern.data()))
            throw std::runtime_error("no scratch directory");
        directory_ = pattern;
        sqlite3* database = nullptr;
        check(sqlite3_open(path().c_str(), &database), database);
        check(sqlite3_exec(database, script(held).c_str(), nullptr, nullptr, nullptr), database);
        sqlite3_close(database);
    }
    ~LibraryFile() { std::filesystem::remove_all(directory_); }

    std::filesystem::path path() const { return directory_ / "library.db"; }
    std::string connectionText() const { return "Provider=SQLite;Data Source=" + path().string(); }

private:
    // Every fifth copy is on loan; one copy in a hundred has a status, one in fifty is not on a shelf.
    static std::string script(int held)
    {
        const auto numbers = [](int count) {
            return "WITH RECURSIVE N(I) AS (SELECT 0 UNION ALL SELECT I + 1 FROM N WHERE I + 1 < " +
                   std::to_string(count) + ") ";
        };
        const std::string perLibrary = std::to_string(libraries);
        return "PRAGMA journal_mode=OFF; PRAGMA synchronous=OFF; BEGIN;"
               "CREATE TABLE TABBIBLIOTECHE (CODBIB TEXT PRIMARY KEY, FLGMOVIM TEXT, DESCR TEXT);"
               "CREATE TABLE POSSEDUTO (CODBIB TEXT, INVENTARIO TEXT, STATO TEXT, FLGSERV TEXT, COLLOCAZIONE "
               "TEXT);"
               "CREATE TABLE MOVIMENTI (CODBIB TEXT, INVENTARIO TEXT, FLGCHIUSO TEXT, LIVSOLL INTEGER, DATA "
               "DATE, "
               "DATA_SCAD DATE);" +
               numbers(libraries) +
               "INSERT INTO TABBIBLIOTECHE SELECT printf('B%03d', I), 'S', 'Biblioteca ' || I FROM N;" +
               numbers(held) + "INSERT INTO POSSEDUTO SELECT printf('B%03d', I % " + perLibrary +
               "), printf('%08d', I), iif(I % 100 = 7, '3', '0'), 'S', iif(I % 50 = 9, NULL, 'A ' || I) FROM "
               "N;" +
               numbers(held / 5) + "INSERT INTO MOVIMENTI SELECT printf('B%03d', 5 * I % " + perLibrary +
               "), printf('%08d', 5 * I), NULL, I % 4 = 0, '2024-01-02', iif(I % 2, '2024-02-01', "
               "'2999-02-01') "
               "FROM N;"
               "CREATE INDEX COPIES ON POSSEDUTO (CODBIB, INVENTARIO);"
               "CREATE INDEX LOANS ON MOVIMENTI (CODBIB, INVENTARIO);"
               "ANALYZE; COMMIT;";
    }

    std::filesystem::path directory_;
};

} // namespace vqloan::bench
