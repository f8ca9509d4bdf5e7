#include "SampleDatabase.h"

#include <stdexcept>

#ifdef VQLOAN_WITH_SQLITE
#include <memory>
#include <string>

#include <sqlite3.h>

#include "SampleFiles.h"
#endif

namespace vqloan::client::sample {

#ifdef VQLOAN_WITH_SQLITE

namespace {

class Database
{
public:
    explicit Database(const std::filesystem::path& file)
    {
        sqlite3* opened = nullptr;
        const int result = sqlite3_open(file.c_str(), &opened);
        handle_.reset(opened);
        check(result);
    }

    void run(const std::string& statements)
    {
        check(sqlite3_exec(handle_.get(), statements.c_str(), nullptr, nullptr, nullptr));
    }

    // Null pointers become NULL.
    void insert(const char* table, std::initializer_list<const char*> values)
    {
        std::string statement = std::string("INSERT INTO ") + table + " VALUES (";
        for (std::size_t i = 0; i < values.size(); ++i)
            statement += i ? ", ?" : "?";
        sqlite3_stmt* prepared = nullptr;
        check(sqlite3_prepare_v2(handle_.get(), (statement + ")").c_str(), -1, &prepared, nullptr));
        int position = 0;
        for (const char* value : values)
            sqlite3_bind_text(prepared, ++position, value, -1, SQLITE_TRANSIENT);
        sqlite3_step(prepared);
        check(sqlite3_finalize(prepared)); // gives the step's result
    }

private:
    void check(int result) const
    {
        if (result != SQLITE_OK)
            throw std::runtime_error(std::string("the sample database cannot be made: ") +
                                     sqlite3_errmsg(handle_.get()));
    }

    struct Close
    {
        void operator()(sqlite3* handle) const noexcept { sqlite3_close(handle); }
    };
    std::unique_ptr<sqlite3, Close> handle_;
};

void insert(Database& database, const Copy& copy)
{
    const char* const number = copy.number.c_str();
    database.insert("POSSEDUTO", {copy.library, number, copy.status, copy.service, copy.shelf.c_str()});
    for (const Loan& loan : copy.loans)
        database.insert("MOVIMENTI", {copy.library, number, loan.lent.c_str(), loan.due.c_str(),
                                      std::to_string(loan.reminders).c_str(), loan.closed ? "S" : nullptr});
}

} // namespace

bool canMakeDatabase() noexcept
{
    return true;
}

void makeDatabase(const std::filesystem::path& file, std::span<const Copy> copies)
{
    Database database(file);
    database.run("BEGIN");
    database.run(std::string(files::schema));
    for (const Library& library : libraries())
        database.insert("TABBIBLIOTECHE", {library.code, library.name, library.keepsLoans});
    for (const Status& status : statuses())
        database.insert("TABBLOCCOMAT", {status.code, status.text});
    for (const Copy& copy : copies)
        insert(database, copy);
    database.run("COMMIT");
}

#else

bool canMakeDatabase() noexcept
{
    return false;
}

void makeDatabase(const std::filesystem::path&, std::span<const Copy>)
{
    throw std::runtime_error("this build has no embedded database to make a sample of");
}

#endif

} // namespace vqloan::client::sample
