// What one copy costs through Make_LstDispo, beside loops that call SQLite directly and decide the same.
#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <functional>
#include <initializer_list>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "component/DispSvr.h"
#include "platform/runtime/Clock.h"
#include "platform/runtime/Text.h"

namespace {

using namespace vqloan;

constexpr int copies = 1'000'000;
constexpr int movements = 200'000;
constexpr int libraries = 500;

// --- The database ---

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
               "CREATE TABLE TABBIBLIOTECHE (CODBIB TEXT PRIMARY KEY, DESCR TEXT, FLGMOVIM TEXT);"
               "CREATE TABLE POSSEDUTO (CODBIB TEXT, INVENTARIO TEXT, STATO TEXT, FLGSERV TEXT, COLLOCAZIONE "
               "TEXT);"
               "CREATE TABLE MOVIMENTI (CODBIB TEXT, INVENTARIO TEXT, FLGCHIUSO TEXT, LIVSOLL INTEGER, DATA "
               "DATE, "
               "DATA_SCAD DATE);" +
               numbers(libraries) +
               "INSERT INTO TABBIBLIOTECHE SELECT printf('B%03d', I), 'Biblioteca ' || I, 'S' FROM N;" +
               numbers(copies) + "INSERT INTO POSSEDUTO SELECT printf('B%03d', I % " + perLibrary +
               "), printf('%08d', I), iif(I % 100 = 7, '3', '0'), 'S', iif(I % 50 = 9, NULL, 'A ' || I) FROM "
               "N;" +
               numbers(movements) + "INSERT INTO MOVIMENTI SELECT printf('B%03d', 5 * I % " + perLibrary +
               "), printf('%08d', 5 * I), NULL, I % 4 = 0, '2024-01-02', iif(I % 2, '2024-02-01', "
               "'2999-02-01') "
               "FROM N;"
               "CREATE INDEX COPIES ON POSSEDUTO (CODBIB, INVENTARIO);"
               "CREATE INDEX LOANS ON MOVIMENTI (CODBIB, INVENTARIO);"
               "ANALYZE; COMMIT;";
    }

    std::filesystem::path directory_;
};

struct Copy
{
    std::string library, inventory;
};

std::vector<Copy> anyCopies(std::size_t count)
{
    std::mt19937 random(4711);
    std::uniform_int_distribution<int> pick(0, copies - 1);
    std::vector<Copy> chosen(count);
    for (Copy& copy : chosen) {
        const int number = pick(random);
        char text[16];
        std::snprintf(text, sizeof text, "B%03d", number % libraries);
        copy.library = text;
        std::snprintf(text, sizeof text, "%08d", number);
        copy.inventory = text;
    }
    return chosen;
}

// --- The baseline ---

const char* const messages[] = {"",         "special",          "available", "overdue",
                                "on loan",  "no shelf mark",    "discarded", "reminded",
                                "not kept", "back end failing", "unknown",   "out of service"};

// One of the three statements: what stands before, between and after its values.
struct StatementText
{
    std::string before, between, after;

    std::string withParameters() const
    {
        return before + "?1" + between + (between.empty() ? "" : "?2") + after;
    }
    std::string with(const Copy& copy) const
    {
        const std::string inventory = between.empty() ? "" : "'" + copy.inventory + "'";
        return before + "'" + copy.library + "'" + between + inventory + after;
    }
};
const StatementText statementTexts[] = {
    {"SELECT FLGMOVIM, DESCR FROM TABBIBLIOTECHE WHERE CODBIB = ", "", ""},
    {"SELECT * FROM MOVIMENTI WHERE CODBIB = ", " AND INVENTARIO = ", " AND FLGCHIUSO IS NULL"},
    {"SELECT POSSEDUTO.*, TABBIBLIOTECHE.DESCR FROM POSSEDUTO LEFT JOIN TABBIBLIOTECHE "
     "ON POSSEDUTO.CODBIB = TABBIBLIOTECHE.CODBIB WHERE POSSEDUTO.CODBIB =",
     " AND INVENTARIO = ", ""}};
enum Which
{
    library,
    loans,
    holdings
};

// The same questions in the same order, put to SQLite as a C program would. `Prepared` keeps the three
// statements; otherwise each is compiled from its text for every copy.
template <bool Prepared> class BareLoop
{
public:
    explicit BareLoop(const std::filesystem::path& file)
    {
        check(sqlite3_open_v2(file.c_str(), &database_, SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX, nullptr),
              database_);
        if (Prepared) {
            for (const Which which : {library, loans, holdings})
                prepare(which, statementTexts[which].withParameters());
        }
    }
    ~BareLoop()
    {
        for (sqlite3_stmt* statement : statements_)
            sqlite3_finalize(statement);
        sqlite3_close(database_);
    }

    std::string answer(const Copy& copy)
    {
        if (begin(library, copy) && equals(text(library, 0), "N"))
            return closing(std::string(text(library, 1)) + "\t" + messages[8] + "\t\t", {library});
        end(library);
        const bool onLoan = begin(loans, copy);
        if (!begin(holdings, copy))
            return closing(std::string("\t") + messages[10] + "\t\t", {loans, holdings});
        return closing(situation(copy, onLoan), {loans, holdings});
    }

private:
    std::string situation(const Copy& copy, bool onLoan)
    {
        const std::string_view name = text(holdings, 5);
        std::string record(name.empty() ? copy.library : name);
        record += "\t\t";
        const std::string_view status = trimmed(text(holdings, 2));
        const bool outOfService = equals(trimmed(text(holdings, 3)), "N");
        if (outOfService || std::strtod(status.data(), nullptr) > 0) {
            if (outOfService)
                return record + messages[11] + "\t\t";
            record += messages[1]; // the benchmark's site has no text for any status
        }
        const std::string_view shelfMark = trimmed(text(holdings, 4));
        if (equals(shelfMark.substr(0, 3), "SC "))
            return record + messages[6] + "\t";
        if (shelfMark.empty())
            return record + messages[5] + "\t";
        if (!onLoan)
            return record + messages[2] + "\t";
        if (sqlite3_column_double(statements_[loans], 3) > 0)
            return record + messages[7] + "\t\t";
        if (text(loans, 5) < today())
            return record + messages[3] + "\t\t";
        const std::string_view date = text(loans, 4);
        return record.append(messages[4])
            .append("\t")
            .append(date, 8, 2)
            .append("-")
            .append(date, 5, 2)
            .append("-")
            .append(date, 0, 4)
            .append("\t");
    }

    bool begin(Which which, const Copy& copy)
    {
        const StatementText& statement = statementTexts[which];
        if (Prepared) {
            bind(which, 1, copy.library);
            if (!statement.between.empty())
                bind(which, 2, copy.inventory);
        } else {
            prepare(which, statement.with(copy));
        }
        const int result = sqlite3_step(statements_[which]);
        check(result, database_);
        return result == SQLITE_ROW;
    }
    void end(Which which)
    {
        if (Prepared)
            sqlite3_reset(statements_[which]);
        else
            sqlite3_finalize(std::exchange(statements_[which], nullptr));
    }
    std::string closing(std::string record, std::initializer_list<Which> open)
    {
        for (const Which which : open)
            end(which);
        return record;
    }

    void prepare(Which which, const std::string& statement)
    {
        check(sqlite3_prepare_v3(database_, statement.c_str(), -1, Prepared ? SQLITE_PREPARE_PERSISTENT : 0,
                                 &statements_[which], nullptr),
              database_);
    }
    void bind(Which which, int parameter, const std::string& value)
    {
        sqlite3_bind_text(statements_[which], parameter, value.data(), static_cast<int>(value.size()),
                          SQLITE_STATIC);
    }
    std::string_view text(Which which, int column)
    {
        const auto* value = reinterpret_cast<const char*>(sqlite3_column_text(statements_[which], column));
        return {value ? value : "",
                static_cast<std::size_t>(sqlite3_column_bytes(statements_[which], column))};
    }
    static std::string_view trimmed(std::string_view text)
    {
        return text.substr(0, text.find_last_not_of(' ') + 1);
    }
    static bool equals(std::string_view text, std::string_view upper)
    {
        return std::equal(text.begin(), text.end(), upper.begin(), upper.end(),
                          [](unsigned char a, unsigned char b) { return std::toupper(a) == b; });
    }
    static std::string_view today()
    {
        static char date[16];
        const std::time_t now = std::time(nullptr);
        std::tm local{};
        localtime_r(&now, &local);
        return {date, std::strftime(date, sizeof date, "%Y-%m-%d", &local)};
    }

    sqlite3* database_ = nullptr;
    sqlite3_stmt* statements_[3] = {};
};

// --- The component ---

class Component
{
public:
    explicit Component(const std::filesystem::path& file)
    {
        server_.Conn = createConnection();
        server_.Conn->Open(u"Provider=SQLite;Data Source=" + text::fromUtf8(file.string()), u"", u"", -1);
        server_.InvStart = server_.BibStart = 1;
        for (const char* message : messages)
            server_.TabMessa.push_back(
                server_.TabMessa.empty() ? u""
                                         : text::decimal(static_cast<std::int64_t>(server_.TabMessa.size())) +
                                               u"\t" + text::fromUtf8(message));
        server_.TabStati.push_back(u"");
    }

    std::u16string answer(const std::u16string& inventory, std::u16string library)
    {
        return server_.Make_LstDispo(inventory, library);
    }

private:
    DispSvr server_;
};

// --- Side by side ---

struct Question
{
    Copy narrow;
    std::u16string library, inventory; // as the component takes them
};

std::vector<Question> questions(std::size_t count)
{
    std::vector<Question> all;
    for (const Copy& copy : anyCopies(count))
        all.push_back({copy, text::fromUtf8(copy.library), text::fromUtf8(copy.inventory)});
    return all;
}

double secondsOf(const std::function<void()>& action)
{
    const auto start = std::chrono::steady_clock::now();
    action();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double> values)
{
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2),
                     values.end());
    return values[values.size() / 2];
}

// Rounds of the three take turns, and the ratios are the medians over rounds, so that what else the machine
// does falls on all alike.
void oneCopy(benchmark::State& state)
{
    static const LibraryFile file;
    Component component(file.path());
    BareLoop<true> prepared(file.path());
    BareLoop<false> unprepared(file.path());

    constexpr std::size_t perRound = 100;
    const std::vector<Question> asked = questions(200 * perRound);
    for (const Question& question : asked) {
        const std::string expected = prepared.answer(question.narrow);
        if (text::toUtf8(component.answer(question.inventory, question.library)) != expected ||
            unprepared.answer(question.narrow) != expected) {
            state.SkipWithError("the answers differ");
            return;
        }
    }

    std::vector<double> real, toPrepared, toUnprepared;
    std::size_t from = 0;
    for (auto _ : state) {
        const auto round = [&](auto answer) {
            return secondsOf([&] {
                for (std::size_t i = from; i < from + perRound; ++i)
                    benchmark::DoNotOptimize(answer(asked[i]));
            });
        };
        const auto runComponent = [&] {
            return round([&](const Question& q) { return component.answer(q.inventory, q.library); });
        };
        const auto runPrepared = [&] {
            return round([&](const Question& q) { return prepared.answer(q.narrow); });
        };
        double componentSeconds = 0, preparedSeconds = 0;
        if (from / perRound % 2) { // whoever comes first finds the file's pages cold
            componentSeconds = runComponent();
            preparedSeconds = runPrepared();
        } else {
            preparedSeconds = runPrepared();
            componentSeconds = runComponent();
        }
        const double unpreparedSeconds =
            round([&](const Question& q) { return unprepared.answer(q.narrow); });
        real.push_back(componentSeconds / perRound);
        toPrepared.push_back(componentSeconds / preparedSeconds);
        toUnprepared.push_back(componentSeconds / unpreparedSeconds);
        state.SetIterationTime(componentSeconds);
        from = (from + perRound) % asked.size();
    }
    state.counters["us_per_copy"] = 1e6 * median(real);
    state.counters["to_prepared"] = median(toPrepared);
    state.counters["to_unprepared"] = median(toUnprepared);
}
BENCHMARK(oneCopy)->UseManualTime()->Iterations(1000)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
