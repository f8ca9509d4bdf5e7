// What one copy costs over ODBC on a PostgreSQL server, beside a loop that calls ODBC directly and decides
// the same. Client and server run on one processor: on several, how long one takes to wake the other decides
// the figure, and it changes from minute to minute.
#include <sched.h>

#include <stdexcept>

#include "Copies.h"
#include "platform/ado/odbc/OdbcHandle.h"
#include "posix/PostgresServer.h"

namespace {

using namespace vqloan::bench;
using vqloan::test::PostgresServer;
namespace odbc = vqloan::odbc;

constexpr int held = 200'000;

std::unique_ptr<PostgresServer> newServer()
{
    auto server = std::make_unique<PostgresServer>();
    const std::string series = " FROM generate_series(0, ", last = std::to_string(held - 1);
    server->execute(
        "CREATE TABLE TABBIBLIOTECHE (CODBIB varchar(10) PRIMARY KEY, FLGMOVIM char(1), DESCR varchar(60));"
        "CREATE TABLE POSSEDUTO (CODBIB varchar(10), INVENTARIO varchar(20), STATO varchar(5), FLGSERV "
        "char(1), "
        "COLLOCAZIONE varchar(40), PRIMARY KEY (CODBIB, INVENTARIO));"
        "CREATE TABLE MOVIMENTI (CODBIB varchar(10), INVENTARIO varchar(20), FLGCHIUSO char(1), LIVSOLL "
        "smallint, "
        "DATA date, DATA_SCAD date);"
        "INSERT INTO TABBIBLIOTECHE SELECT 'B' || to_char(I, 'FM000'), 'S', 'Biblioteca ' || I" +
        series + std::to_string(libraries - 1) +
        ") I;"
        "INSERT INTO POSSEDUTO SELECT 'B' || to_char(I % 500, 'FM000'), to_char(I, 'FM00000000'), "
        "CASE WHEN I % 100 = 7 THEN '3' ELSE '0' END, 'S', CASE WHEN I % 50 <> 9 THEN 'A ' || I END" +
        series + last +
        ") I;"
        "INSERT INTO MOVIMENTI SELECT 'B' || to_char(I % 500, 'FM000'), to_char(I, 'FM00000000'), NULL, "
        "CASE WHEN I % 20 = 0 THEN 1 ELSE 0 END, '2024-01-02', "
        "CASE WHEN I % 2 = 1 THEN '2024-02-01' ELSE '2999-02-01' END::date" +
        series + last +
        ", 5) I;"
        "CREATE INDEX ON MOVIMENTI (CODBIB, INVENTARIO); ANALYZE");
    return server;
}

void check(SQLRETURN result)
{
    if (!SQL_SUCCEEDED(result))
        throw std::runtime_error("an ODBC call fails");
}

class BareLoop
{
public:
    explicit BareLoop(const std::string& connectionText)
    {
        SQLSetEnvAttr(environment_.get(), SQL_ATTR_ODBC_VERSION, odbc::number(SQL_OV_ODBC3), 0);
        database_ = odbc::Database(environment_.get());
        check(SQLDriverConnect(database_.get(), nullptr, narrow(connectionText), SQL_NTS, nullptr, 0, nullptr,
                               SQL_DRIVER_NOPROMPT));
        for (const Which which : {library, loans, holdings}) {
            statements_[which] = odbc::Statement(database_.get());
            check(SQLPrepare(statements_[which].get(), narrow(statementTexts[which].withParameters()),
                             SQL_NTS));
        }
    }
    ~BareLoop()
    {
        for (odbc::Statement& statement : statements_)
            statement = {};
        SQLDisconnect(database_.get());
    }

    bool begin(Which which, const Copy& copy)
    {
        bind(which, 1, copy.library);
        if (which != library)
            bind(which, 2, copy.inventory);
        check(SQLExecute(statements_[which].get()));
        return SQLFetch(statements_[which].get()) != SQL_NO_DATA;
    }
    std::string_view text(Which which, int column)
    {
        SQLLEN length = 0;
        check(SQLGetData(statements_[which].get(), static_cast<SQLUSMALLINT>(column + 1), SQL_C_CHAR, value_,
                         sizeof value_, &length));
        return {value_, length == SQL_NULL_DATA ? 0 : static_cast<std::size_t>(length)};
    }
    void end(Which which) { SQLFreeStmt(statements_[which].get(), SQL_CLOSE); }

private:
    static SQLCHAR* narrow(const std::string& text)
    {
        return reinterpret_cast<SQLCHAR*>(const_cast<char*>(text.c_str()));
    }
    void bind(Which which, SQLUSMALLINT parameter, const std::string& value)
    {
        check(SQLBindParameter(statements_[which].get(), parameter, SQL_PARAM_INPUT, SQL_C_CHAR, SQL_VARCHAR,
                               value.size(), 0, const_cast<char*>(value.data()), 0, nullptr));
    }

    odbc::Environment environment_{SQL_NULL_HANDLE};
    odbc::Database database_;
    odbc::Statement statements_[3];
    char value_[256];
};

// This process, and those that it starts.
void runOnOneProcessor()
{
    cpu_set_t allowed, one;
    CPU_ZERO(&one);
    sched_getaffinity(0, sizeof allowed, &allowed);
    int first = 0;
    while (first < CPU_SETSIZE && !CPU_ISSET(first, &allowed))
        ++first;
    CPU_SET(first, &one);
    sched_setaffinity(0, sizeof one, &one);
}

} // namespace

int main(int argc, char** argv)
{
    runOnOneProcessor();
    if (const std::string why = PostgresServer::whyNot(); !why.empty()) {
        std::printf("%s: nothing is measured\n", why.c_str());
        return 0;
    }
    const std::unique_ptr<PostgresServer> server = newServer();
    Component component(server->readersConnectionText());
    BareLoop bare(server->readersConnectionText());
    const std::vector<Copy> copies = anyCopies(5'000, held);
    compare(component, bare, copies);

    using benchmark::State;
    benchmark::RegisterBenchmark("copy over ODBC/real", [&](State& state) {
        askInTurn(state, copies, [&](const Copy& copy) { return component.answer(copy); });
    })->UseRealTime();
    benchmark::RegisterBenchmark("copy over ODBC/three prepared statements", [&](State& state) {
        askInTurn(state, copies, [&](const Copy& copy) { return bareAnswer(bare, copy); });
    })->UseRealTime();
    return run(argc, argv);
}
