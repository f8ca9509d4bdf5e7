// What one copy costs through Make_LstDispo, and one line of a request through VisNre, beside loops that call
// SQLite directly and decide the same: in one read transaction, and in one for each statement.
#include <sqlite3.h>

#include <filesystem>

#include "Copies.h"
#include "LibraryFile.h"

namespace {

using namespace vqloan::bench;

constexpr int held = 1'000'000;
constexpr int linesOfACall = 500;

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
    LibraryFile file{held};
    Component component{file.connectionText()};
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
