// What one copy costs through Make_LstDispo, and one line of a request through VisNre, beside loops that call
// SQLite directly and decide the same: in one read transaction, and in one for each statement.
#include <sqlite3.h>

#include <filesystem>
#include <stdexcept>

#include "Copies.h"

namespace {

using namespace vqloan::bench;

constexpr int held = 1'000'000;
constexpr int onLoan = 200'000;
constexpr int linesOfACall = 500;

void check(int result, sqlite3* database)
{
    if (result != SQLITE_OK && result != SQLITE_ROW && result != SQLITE_DONE)
        throw std::runtime_error(sqlite3_errmsg(database));
}

// In a directory of its own, removed with the object.
class LibraryFile
{
public:
    LibraryFile()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "vqloan-bench-XXXXXX").string();
        if (!mkdtemp(pattern.data()))
            throw std::runtime_error("no scratch directory");
        directory_ = pattern;
        sqlite3* database = nullptr;
        check(sqlite3_open(path().c_str(), &database), database);
        check(sqlite3_exec(database, script().c_str(), nullptr, nullptr, nullptr), database);
        sqlite3_close(database);
    }
    ~LibraryFile() { std::filesystem::remove_all(directory_); }

    std::filesystem::path path() const { return directory_ / "library.db"; }

private:
    // Every fifth copy is on loan; one copy in a hundred has a status, one in fifty is not on a shelf.
    static std::string script()
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
               numbers(onLoan) + "INSERT INTO MOVIMENTI SELECT printf('B%03d', 5 * I % " + perLibrary +
               "), printf('%08d', 5 * I), NULL, I % 4 = 0, '2024-01-02', iif(I % 2, '2024-02-01', "
               "'2999-02-01') "
               "FROM N;"
               "CREATE INDEX COPIES ON POSSEDUTO (CODBIB, INVENTARIO);"
               "CREATE INDEX LOANS ON MOVIMENTI (CODBIB, INVENTARIO);"
               "ANALYZE; COMMIT;";
    }

    std::filesystem::path directory_;
};

class BareLoop
{
public:
    explicit BareLoop(const std::filesystem::path& file)
    {
        check(sqlite3_open_v2(file.c_str(), &database_, SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX, nullptr),
              database_);
        for (const Which which : {library, loans, holdings})
            check(sqlite3_prepare_v3(database_, statementTexts[which].withParameters().c_str(), -1,
                                     SQLITE_PREPARE_PERSISTENT, &statements_[which], nullptr),
                  database_);
    }
    ~BareLoop()
    {
        for (sqlite3_stmt* statement : statements_)
            sqlite3_finalize(statement);
        sqlite3_close(database_);
    }

    void execute(const char* statement)
    {
        check(sqlite3_exec(database_, statement, nullptr, nullptr, nullptr), database_);
    }

    bool begin(Which which, const Copy& copy)
    {
        bind(which, 1, copy.library);
        if (!statementTexts[which].between.empty())
            bind(which, 2, copy.inventory);
        const int result = sqlite3_step(statements_[which]);
        check(result, database_);
        return result == SQLITE_ROW;
    }
    std::string_view text(Which which, int column)
    {
        const auto* value = reinterpret_cast<const char*>(sqlite3_column_text(statements_[which], column));
        return {value ? value : "",
                static_cast<std::size_t>(sqlite3_column_bytes(statements_[which], column))};
    }
    void end(Which which) { sqlite3_reset(statements_[which]); }

private:
    void bind(Which which, int parameter, const std::string& value)
    {
        sqlite3_bind_text(statements_[which], parameter, value.data(), static_cast<int>(value.size()),
                          SQLITE_STATIC);
    }

    sqlite3* database_ = nullptr;
    sqlite3_stmt* statements_[3] = {};
};

// What the three read, and each in its way. The answers are compared before anything is measured.
struct Setting
{
    LibraryFile file;
    Component component{"Provider=SQLite;Data Source=" + file.path().string()};
    BareLoop loop{file.path()};
    std::vector<Copy> copies = anyCopies(20'000, held);

    Setting() { compare(component, loop, copies); }
};

} // namespace

int main(int argc, char** argv)
{
    Setting setting;
    using benchmark::State;
    const auto bare = [&](const Copy& copy) { return bareAnswer(setting.loop, copy); };
    const auto inOneTransaction = [&](State& state) {
        setting.loop.execute("BEGIN");
        askInTurn(state, setting.copies, bare);
        setting.loop.execute("COMMIT");
    };
    const auto inOneEach = [&](State& state) { askInTurn(state, setting.copies, bare); };
    benchmark::RegisterBenchmark("copy/real", [&](State& state) {
        const vqloan::OneState forAll;
        askInTurn(state, setting.copies, [&](const Copy& copy) { return setting.component.answer(copy); });
    });
    benchmark::RegisterBenchmark("copy/the bare loop in one transaction", inOneTransaction);
    benchmark::RegisterBenchmark("copy/the bare loop in one for each statement", inOneEach);

    const std::vector<std::u16string> requests = requestsOf(setting.copies, linesOfACall);
    benchmark::RegisterBenchmark("line of a call of 500/real", [&](State& state) {
        std::size_t next = 0;
        for (auto _ : state) {
            benchmark::DoNotOptimize(setting.component.answers(requests[next]));
            next = (next + 1) % requests.size();
        }
        state.SetItemsProcessed(state.iterations() * linesOfACall);
    });
    benchmark::RegisterBenchmark("line of a call of 500/the bare loop in one transaction", inOneTransaction);
    return run(argc, argv);
}
