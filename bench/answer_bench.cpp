// One request of 32,766 lines, per line, beside one of 3,276; and the memory that the longest takes.
#include <sqlite3.h>
#include <sys/resource.h>

#include <cstdlib>
#include <filesystem>

#include "RatioReporter.h"
#include "component/DispSvr.h"
#include "platform/runtime/Text.h"

namespace {

using namespace vqloan;

// Of one line for the legacy host: the library code.
using Code = std::u16string (*)(int line);

std::u16string descending(int line)
{
    return text::decimal(100000 - line);
}
std::u16string frontThenEqual(int line)
{
    return line < 300 ? u"2" : u"1";
}
std::u16string equal(int)
{
    return u"1";
}

std::u16string request(int lines, Code code)
{
    std::u16string text;
    for (int line = 1; line <= lines; ++line)
        text.append(code(line)).append(u"\tA 1\tINV").append(text::decimal(line % 1000)).append(u"\t\r\n");
    return text;
}

void answer(benchmark::State& state, DispSvr& svr, int lines, Code code)
{
    const std::u16string buf = request(lines, code);
    for (auto _ : state)
        if (svr.VisNre(buf).empty())
            state.SkipWithError("the request was refused");
    state.SetItemsProcessed(state.iterations() * lines);
}

std::filesystem::path makeDatabase()
{
    const auto file = std::filesystem::temp_directory_path() / "vqloan-answer-bench.db";
    std::filesystem::remove(file);
    sqlite3* database = nullptr;
    sqlite3_open(file.c_str(), &database);
    const int result = sqlite3_exec(
        database,
        "CREATE TABLE TABBIBLIOTECHE (CODBIB TEXT PRIMARY KEY, FLGMOVIM TEXT, DESCR TEXT);"
        "CREATE TABLE POSSEDUTO (CODBIB TEXT, INVENTARIO TEXT, STATO TEXT, FLGSERV TEXT, COLLOCAZIONE TEXT,"
        " PRIMARY KEY (CODBIB, INVENTARIO));"
        "CREATE TABLE MOVIMENTI (CODBIB TEXT, INVENTARIO TEXT, FLGCHIUSO TEXT, LIVSOLL INTEGER, DATA_SCAD "
        "DATE, DATA "
        "DATE, PRIMARY KEY (CODBIB, INVENTARIO));"
        "INSERT INTO TABBIBLIOTECHE VALUES ('1', 'S', 'Civica');"
        "WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < 999)"
        " INSERT INTO POSSEDUTO SELECT '1', 'INV' || i, '0', 'S', 'A 1' FROM n;",
        nullptr, nullptr, nullptr);
    sqlite3_close(database);
    if (result != SQLITE_OK)
        std::abort();
    return file;
}

long peakKilobytes()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

} // namespace

int main(int argc, char** argv)
{
    constexpr int longest = 32766, tenth = 3276;
    const auto file = makeDatabase();
    DispSvr database, host;
    host.DBType = static_cast<std::int16_t>(site::Kind::host);
    host.BibPosse = u"00";
    database.DBType = static_cast<std::int16_t>(site::Kind::database);
    database.Conn = createConnection();
    database.Conn->Open(u"Provider=SQLite;Data Source=" + file.u16string(), {}, {}, -1);
    database.InvStart = database.BibStart = 1;
    database.TabMessa = {u"", u"1\ta", u"2\tDisponibile"};
    database.TabStati = {u""};

    for (const auto& [svr, code] : {std::pair<DispSvr*, Code>(&database, equal), {&host, descending}}) {
        const std::u16string buf = request(longest, code);
        const long before = peakKilobytes();
        const std::size_t size = svr->VisNre(buf).size();
        std::printf("%s: %d lines, an answer of %zu characters: %.1f MiB above the start\n",
                    svr == &host ? "7000" : "SQL2", longest, size,
                    static_cast<double>(peakKilobytes() - before) / 1024);
    }
    struct Pair
    {
        const char* name;
        DispSvr& svr;
        Code code;
        int most, few;
    };
    // Equal names cannot make a long request: the last line that may be searched for begins within 32,767
    // characters.
    for (const Pair& p :
         {Pair{"SQL2", database, equal, longest, tenth},
          {"7000 unlisted, descending names", host, descending, longest, tenth},
          {"7000 unlisted, 300 names, then equal ones in front", host, frontThenEqual, 420, 380},
          {"7000 unlisted, equal names", host, equal, 400, 40}}) {
        const auto name = std::string(p.name) + ", a line of " + std::to_string(p.most) + "/";
        benchmark::RegisterBenchmark((name + "real").c_str(),
                                     [p](auto& state) { answer(state, p.svr, p.most, p.code); });
        benchmark::RegisterBenchmark((name + "a line of " + std::to_string(p.few)).c_str(),
                                     [p](auto& state) { answer(state, p.svr, p.few, p.code); });
    }
    const int result = bench::run(argc, argv);
    std::filesystem::remove(file);
    return result;
}
