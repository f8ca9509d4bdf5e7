// Connection and Recordset over ODBC, on a PostgreSQL server; what matters to every server, on each.
#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <thread>

#include "FailureOf.h"
#include "MariaDbServer.h"
#include "Network.h"
#include "PostgresServer.h"
#include "Queries.h"
#include "Site.h"
#include "platform/ado/AdoConnection.h"
#include "platform/ado/odbc/OdbcConnectionText.h"

namespace vqloan::test {
namespace {

TEST(OdbcConnectionText, SpeaksToTheDriver)
{
    const std::tuple<std::u16string, std::u16string, std::u16string, std::u16string> cases[] = {
        {u"Provider=MSDASQL;Data Source=libri;User ID=u;Password=p", u"", u"", u"DSN=libri;UID=u;PWD=p;"},
        {u"DSN=libri;UID=u;PWD=p", u"v", u"q", u"DSN=libri;UID=v;PWD=q;"},
        {u"Driver={PostgreSQL Unicode};Server=h;server=i", u"", u"", u"Driver=PostgreSQL Unicode;Server=i;"},
        {u"Provider=MSDASQL;Extended Properties='DSN=libri;Port=1';Initial Catalog=c;Persist Security "
         u"Info=True",
         u"", u"", u"DSN=libri;Port=1;DATABASE=c;"},
        {u"DSN=libri", u"u", u"p;w}d ", u"DSN=libri;UID=u;PWD={p;w}}d };"},
    };
    for (const auto& [text, user, password, expected] : cases) {
        const ConnectionString connection(text);
        EXPECT_EQ(text::toUtf8(odbc::connectionText({connection, user, password, 0})),
                  text::toUtf8(expected));
    }
}

template <class Real> class With : public testing::Test
{
protected:
    void SetUp() override
    {
        if (const std::string why = Real::whyNot(); !why.empty())
            GTEST_SKIP() << why;
        server.emplace();
    }

    std::optional<Real> server;
};
using Odbc = With<PostgresServer>;
using MariaDb = With<MariaDbServer>;

TEST_F(Odbc, GivesEachValueAsItsType)
{
    std::string longText;
    for (int i = 0; i < 5000; ++i)
        longText += "è9";
    const std::pair<std::string, std::string> cases[] = {
        {"NULL::integer", "null"},
        {"NULL::text", "null"},
        {"NULL::timestamp", "null"},
        {"-7::smallint", "long -7"},
        {"2147483648::bigint", "long long 2147483648"},
        {"0.5::double precision", "double 0.5"},
        {"2::numeric(3)", "long 2"},
        {"12.50::numeric(6,2)", "double 12.5"},
        {"12345678901234567.25::numeric", "text 12345678901234567.25"},
        {"'AB'::char(4)", "text AB  "},
        {"''::varchar(4)", "text "},
        {"(chr(232) || chr(8217) || chr(128218))::varchar(9)", "text è\u2019\U0001F4DA"},
        {"repeat(chr(232) || '9', 5000)", "text " + longText},
        {"decode('41e8', 'hex')", "text Aè"},
        {"'2024-02-29'::date", "date 45351"},
        {"'2024-02-29 18:00'::timestamp", "date 45351.75"},
        {"'2024-02-29'::text", "text 2024-02-29"},
    };
    for (const char* driver : {"PostgreSQL Unicode", "PostgreSQL ANSI"}) {
        const auto connection =
            open(server->connectionText(driver), PostgresServer::reader, PostgresServer::readersPassword);
        for (const auto& [expression, value] : cases)
            EXPECT_EQ(typeAndText(first(connection, "SELECT " + expression)), value)
                << driver << ": " << expression;
    }
}

// With its values as parameters a statement finds what the server finds with the values in it.
TEST_F(Odbc, ValuesCompareAsLiterals)
{
    server->execute("CREATE TABLE T (C char(6), V varchar(6), N integer, D date);"
                    "INSERT INTO T VALUES ('AB', 'AB', 7, '2024-02-29'), ('', '', 8, NULL)");
    const auto connection = open(server->readersConnectionText());
    for (const std::string condition :
         {"C = 'AB'", "C = 'AB    '", "C = ' AB'", "C = ''", "V = 'AB'", "V = 'AB '", "V = ''", "N = '7'",
          "N = ' 7 '", "N <> '07'", "D = '2024-02-29'", "D = 'February 29, 2024'", "D > '2024-01-01'",
          "C < 'B'"}) {
        // The server's own answer: a comment keeps the values in the text.
        const std::string statement = "SELECT count(*) FROM T WHERE " + condition;
        for (int i = 0; i < 2; ++i)
            EXPECT_EQ(first(connection, statement).toLong(), first(connection, statement + " -- ").toLong())
                << condition;
    }
    const Failed failed = failureOf([&] { first(connection, "SELECT N FROM T WHERE N = 'x'"); });
    EXPECT_TRUE(failed.description.starts_with("ERROR: invalid input syntax for type integer: \"x\""))
        << failed.description;
    EXPECT_EQ(
        first(connection, "SELECT C = 'AB' AND N = '7' FROM T GROUP BY C = 'AB' AND N = '7' ORDER BY 1 DESC")
            .toText(),
        u"1")
        << "the server takes no parameters here";
}

TEST_F(Odbc, SaysWhyItCannotOpen)
{
    // Connection text, user, password, what the failure says.
    const std::tuple<std::string, std::string, std::string, std::string> cases[] = {
        {server->connectionText(), PostgresServer::reader, "secret", "password authentication failed"},
        {server->connectionText() + ";Database=none", "postgres", "", "\"none\" does not exist"},
        {"Driver={PostgreSQL Unicode};Server=127.0.0.1;Port=" + std::to_string(freePort()), "u", "secret",
         "refused"},
        {"Driver=No Such Driver;PWD=secret", "", "", "SQLSTATE"},
        {"Provider=MSDASQL;DSN=no-such-source;PWD=secret", "", "", "Data source name not found"},
        {"Provider=MSDASQL;PWD=secret", "", "", "SQLSTATE"},
    };
    for (const auto& [text, user, password, says] : cases) {
        const Failed failed =
            failureOf([&, &text = text, &user = user, &password = password] { open(text, user, password); });
        EXPECT_EQ(failed.number, connectionFailed) << text;
        EXPECT_TRUE(failed.says(says) && !failed.says("secret")) << failed.description;
    }
}

TEST_F(Odbc, TimeoutsEndWaitsAndLongStatements)
{
    const SilentPort silence;
    const auto connection = createConnection();
    connection->ConnectionTimeout(2);
    const auto open = [&](const std::string& text) {
        connection->Open(text::fromUtf8(text), u"postgres", {}, -1);
    };
    const Failed opening = failureOf(
        [&] { open("Driver=PostgreSQL Unicode;Server=127.0.0.1;Port=" + std::to_string(silence.number())); });
    EXPECT_EQ(opening.number, connectionFailed);
    EXPECT_GT(opening.seconds, 1);
    EXPECT_LT(opening.seconds, 10);

    server->execute("CREATE TABLE T (K text); INSERT INTO T VALUES ('a')");
    connection->CommandTimeout(1);
    open(server->connectionText());
    const Failed sleeping = failureOf([&] { query(connection, "SELECT pg_sleep(20)"); });
    EXPECT_EQ(sleeping.number, timeLimitPassed) << sleeping.description;
    EXPECT_LT(sleeping.seconds, 10);
    EXPECT_EQ(first(connection, "SELECT K FROM T WHERE K = 'a'").toText(), u"a") << "the connection goes on";
    connection->CommandTimeout(0);
    EXPECT_NO_THROW(query(connection, "SELECT pg_sleep(1.2)"));
}

// A server by what the cases need of it.
struct Server
{
    std::string source;                // its lines in odbc.ini, but for the port
    std::string administrator, reader; // connection texts; the reader waits a second for a lock
    std::string schema;                // the example's file
    bool keepsTimeLimits;
    std::string lock = {}; // takes T from all others for 4 seconds
    int port = 0;
    std::function<void(const std::string& statements)> run = {};
    std::function<void()> endSessions = {}, stop = {}, start = {};
};

template <class Real> Server connected(Server server, const std::shared_ptr<Real>& real)
{
    server.lock = Real::lock;
    server.port = real->port();
    server.run = [real](const std::string& statements) { real->execute(statements); };
    server.endSessions = [real] { real->endSessions(); };
    server.stop = [real] { real->stop(); };
    server.start = [real] { real->start(); };
    return server;
}

Server postgres(const std::string& encoding, const std::string& conformingStrings)
{
    const auto real = std::make_shared<PostgresServer>(encoding);
    for (const std::string role : {"postgres", PostgresServer::reader})
        real->execute("ALTER ROLE " + role + " SET lock_timeout = 1000; ALTER ROLE " + role +
                      " SET standard_conforming_strings = " + conformingStrings);
    return connected({"Driver=PostgreSQL Unicode\nServername=127.0.0.1\nDatabase=postgres",
                      real->connectionText() + ";UID=postgres", real->readersConnectionText(),
                      "schema-postgresql.sql", true},
                     real);
}

Server mariaDb()
{
    const auto real = std::make_shared<MariaDbServer>();
    real->execute("CREATE USER padrone; GRANT ALL ON *.* TO padrone");
    return connected({"Driver=MariaDB Unicode\nServer=127.0.0.1\nDatabase=libri",
                      real->connectionText() + ";UID=padrone",
                      real->readersConnectionText() + ";InitStmt={SET SESSION lock_wait_timeout=1}",
                      "schema-mariadb.sql", false},
                     real);
}

// By the server's name.
class EveryServer : public testing::TestWithParam<std::string>
{
protected:
    void SetUp() override
    {
        const bool isMariaDb = GetParam() == "MariaDb", isLatin = GetParam() == "PostgresLatin1",
                   escapes = GetParam() == "PostgresEscapes";
        if (const std::string why = isMariaDb ? MariaDbServer::whyNot() : PostgresServer::whyNot();
            !why.empty())
            GTEST_SKIP() << why;
        server = isMariaDb ? mariaDb() : postgres(isLatin ? "LATIN1" : "UTF8", escapes ? "off" : "on");
        server.run("CREATE TABLE T (C varchar(9), N integer); INSERT INTO T VALUES ('01', 1), ('secret', 2)");
    }
    Server server;
};

// With what makes quotes dangerous: backslashes that escape, and a code page that lacks characters.
class LooseServer : public EveryServer
{};

const auto nameOf = [](const auto& kind) { return kind.param; };
INSTANTIATE_TEST_SUITE_P(, EveryServer, testing::Values("Postgres", "MariaDb"), nameOf);
INSTANTIATE_TEST_SUITE_P(, LooseServer, testing::Values("PostgresEscapes", "PostgresLatin1", "MariaDb"),
                         nameOf);

std::u16string select(std::u16string_view code, std::u16string_view number)
{
    const auto doubled = [](std::u16string_view value) {
        std::u16string text;
        for (const char16_t unit : value)
            text.append(unit == u'\'' ? 2 : 1, unit);
        return text;
    };
    return u"SELECT C FROM T WHERE C = '" + doubled(code) + u"' AND N = '" + doubled(number) + u"'";
}

// Refused by the number column or not representable in the server's code page; some end the literal early
// where a backslash escapes, or where a driver takes a quote for a surrogate's other half.
TEST_P(LooseServer, NoValueLeavesItsStatement)
{
    const auto connection = open(server.administrator);
    const std::pair<std::u16string, std::u16string> cases[] = {
        {u"\\", u" OR 1=1 -- \u4E00"},
        {u"\\", u" OR 1=1 -- x"},
        {u"\\", u" UNION SELECT TABLE_NAME FROM INFORMATION_SCHEMA.TABLES -- \u4E00"},
        {u"\\", u" UNION SELECT C FROM T -- "},
        {u"\\", u" OR SLEEP(9) -- \u4E00"},
        {u"01", u"X\xD83D'; CREATE TABLE EVIL (A integer); --"},
        {u"X\xD83D", u"; CREATE TABLE EVIL (A integer); --"},
        {u"01\xD83D", u"1"},
        {u"\u4E00", u"1"},
    };
    for (int i = 0; i < 2; ++i) { // the second time its shape is known
        for (const auto& [code, number] : cases) {
            const auto rows = createRecordset();
            const Failed failed =
                failureOf([&, asked = select(code, number)] { rows->Open(asked, connection, 2, 1, 1); });
            EXPECT_TRUE(failed.number != 0 || rows->Eof()) << text::toUtf8(code + number);
            EXPECT_TRUE(failed.number == 0 || number != u"1") << failed.description;
            EXPECT_LT(failed.seconds, 4);
        }
        EXPECT_EQ(first(connection, text::toUtf8(select(u"01", u"1"))).toText(), u"01");
    }
    EXPECT_NE(failureOf([&] { query(connection, "SELECT A FROM EVIL"); }).number, 0) << "it was made";
}

TEST_P(EveryServer, ALockIsWaitedForOnce)
{
    const auto connection = open(server.reader);
    const std::string statement = text::toUtf8(select(u"01", u"1"));
    query(connection, statement);
    std::thread other([&] { server.run(server.lock); });
    Failed known; // fails once the other has the lock
    for (int tries = 0; known.number == 0 && tries < 500; ++tries) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        known = failureOf([&] { query(connection, statement); });
    }
    const Failed anew = failureOf([&] { query(connection, statement); });
    other.join();
    for (const Failed& failed : {known, anew}) {
        EXPECT_EQ(failed.number, statementFailed);
        EXPECT_TRUE(failed.says("55P03") || failed.says("native error 1205")) << failed.description;
        EXPECT_GT(failed.seconds, 0.8);
        EXPECT_LT(failed.seconds, 1.9);
    }
    EXPECT_NO_THROW(query(connection, statement));
}

// The desk of a site whose server goes away and comes back.
TEST_P(EveryServer, ALostConnectionFailsItsLinesAndOpensAgain)
{
    server.run(schemaAndRows());
    Site site;
    site.settings("[SERVER]\nCONNECT=" + server.reader + "\nTIMEOUT=5\nINVENTARIO=1\n" + messages);
    Client desk = site.client();
    const std::string available = "Inv. FREE|Civica|Inv. FREE|Disponibile|||\n";
    const auto both = [&] { return desk.ask("01||FREE\n01||FREE\n"); };
    ASSERT_FALSE(desk.open("SQL2")) << desk.failure().description;
    EXPECT_EQ(both(), available + available);

    server.endSessions();
    const std::string lost = desk.ask("01||FREE\n");
    const Failed failure = desk.failure();
    EXPECT_EQ(lost, "Codice Bibl. 01|Coll. , Inv. FREE|ERRORE: " + failure.description + "\n");
    EXPECT_EQ(failure.number, connectionFailed);
    EXPECT_EQ(failure.source, "VQLoan.SvrODBC.Make_LstDispo, 0");
    EXPECT_NE(both().find("ERRORE"), std::string::npos) << "further lines say so too";
    ASSERT_FALSE(desk.open("SQL2"));
    EXPECT_EQ(both(), available + available);

    server.stop();
    const std::string answer = both();
    EXPECT_NE(answer.find("ERRORE"), answer.rfind("ERRORE")) << "each line is tried: " << answer;
    EXPECT_TRUE(desk.open("SQL2"));
    server.start();
    ASSERT_FALSE(desk.open("SQL2")) << desk.failure().description;
    EXPECT_EQ(both(), available + available);
}

// What the guide says of accounts and data sources.
TEST_P(EveryServer, TheExampleSchemaServesASiteThatCannotWrite)
{
    server.run(read(SOURCE_DIRECTORY "/examples/" + server.schema));
    server.run(
        "INSERT INTO TABBIBLIOTECHE VALUES ('01', 'Civica', 'S'); INSERT INTO TABBLOCCOMAT VALUES ('2', 'x');"
        "INSERT INTO POSSEDUTO VALUES ('01', '1', '2', 'S', 'A'), ('01', '2', NULL, NULL, 'A');"
        "INSERT INTO MOVIMENTI VALUES ('01', '2', '2024-02-29', '2999-01-01', 0, NULL)");
    Site site;
    const std::string name = "libri" + std::to_string(server.port); // the driver manager remembers names
    write(site.directory / "odbc.ini",
          "[" + name + "]\n" + server.source + "\nPort=" + std::to_string(server.port) + "\n");
    setenv("ODBCINI", (site.directory / "odbc.ini").c_str(), 1);
    for (const char* connect : {"DSN=", "Provider=MSDASQL;Data Source="}) {
        site.settings(std::string("[SERVER]\nCONNECT=") + connect + name +
                      "\nUSERNAME=vqloan\nPASSWORD=change me\nINVENTARIO=1\n" + messages);
        Client desk = site.client();
        ASSERT_FALSE(desk.open("SQL2")) << desk.failure().description;
        EXPECT_EQ(desk.ask("01||1\n01||2\n"), "Inv. 1|Civica|Inv. 1|x" + std::string(37, ' ') +
                                                  "||||\nInv. 2|Civica|Inv. 2|In prestito|29-02-2024|||\n");
    }
    const auto connection = open("DSN=" + name, "vqloan", "change me");
    unsetenv("ODBCINI");
    EXPECT_EQ(dynamic_cast<AdoConnection&>(*connection).session()->keepsTimeLimits(), server.keepsTimeLimits);
    for (const char* statement :
         {"INSERT INTO POSSEDUTO VALUES ('01', '3', NULL, NULL, NULL)", "UPDATE MOVIMENTI SET LIVSOLL = 1",
          "DELETE FROM TABBLOCCOMAT", "DROP TABLE TABBLOCCOMAT", "CREATE TABLE EVIL (A integer)",
          "CREATE TEMPORARY TABLE EVIL (A integer)"})
        EXPECT_EQ(failureOf([&] { query(connection, statement); }).number, statementFailed) << statement;
}

// The limits that the guide gives to MariaDB's driver in the connection text.
TEST_F(MariaDb, KeepsTheLimitsOfItsConnectionText)
{
    const SilentPort silence;
    const std::string port = std::to_string(silence.number()), reader = server->readersConnectionText();
    const std::pair<std::string, std::int32_t> cases[] = {
        {reader + ";InitStmt={SET SESSION max_statement_time=1}", timeLimitPassed},
        {reader + ";READ_TIMEOUT=1", connectionFailed},
        {"Driver={MariaDB Unicode};Server=127.0.0.1;CONN_TIMEOUT=1;Port=" + port, connectionFailed},
    };
    for (const auto& [text, number] : cases) {
        const Failed failed = failureOf([&, &limited = text] { query(open(limited), "SELECT SLEEP(9)"); });
        EXPECT_EQ(failed.number, number) << text << failed.description;
        EXPECT_LT(failed.seconds, 6) << text;
    }
    const auto latin = open(reader + ";CHARSET=latin1");
    EXPECT_EQ(first(latin, "SELECT 'a'").toText(), u"a");
    EXPECT_TRUE(failureOf([&] { query(latin, "SELECT '\u4E00'"); }).says("beyond ASCII"))
        << "the driver would ask for a question mark";
}

} // namespace
} // namespace vqloan::test
