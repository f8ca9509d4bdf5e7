// Connection and Recordset on the embedded database.
#include <gtest/gtest.h>

#include <optional>
#include <thread>
#include <tuple>

#include "FailureOf.h"
#include "Queries.h"
#include "SqliteFile.h"
#include "platform/ado/ConnectionString.h"
#include "platform/ado/DateValue.h"
#include "platform/ado/Passwords.h"
#include "platform/ado/StatementShape.h"

namespace vqloan::test {
namespace {

using namespace std::string_literals;

TEST(ConnectionString, FindsTheLastValueOfAKey)
{
    // clang-format off
    const std::tuple<std::u16string_view, std::u16string_view, std::optional<std::u16string>> cases[] = {
        {u"Provider=SQLite;Data Source=/a b/c.db", u"data source", u"/a b/c.db"},
        {u" ; Provider = SQLite ;; ", u"PROVIDER", u"SQLite"}, {u"a=1;A=2", u"a", u"2"},
        {u"a=' x;y '' z ' ;b=2", u"a", u" x;y ' z "}, {u"a=\"it's\"\"so\"", u"a", u"it's\"so"},
        {u"Driver={Post;gre}}SQL};b=2", u"driver", u"Post;gre}SQL"}, {u"a=x=y", u"a", u"x=y"},
        {u"a=", u"a", u""}, {u"a=1", u"b", std::nullopt},
    };
    // clang-format on
    for (const auto& [text, key, value] : cases) {
        const ConnectionString connection(text);
        const std::u16string* found = connection.find(key);
        EXPECT_EQ(found ? std::optional(*found) : std::nullopt, value) << text::toUtf8(text);
    }
}

TEST(ConnectionString, SaysWhatIsMalformedWithoutQuotingIt)
{
    for (const char* text : {"secret", "a=1;secret", "=secret", "a='secret", "a='secret'x;b=1"}) {
        const Failed failed = failureOf([&] { open(text); });
        EXPECT_EQ(failed.number, static_cast<std::int32_t>(0x80040E73)) << text;
        EXPECT_FALSE(failed.says("secret")) << text;
    }
}

TEST(Passwords, AreNeverShown)
{
    // clang-format off
    const std::pair<std::u16string_view, std::u16string_view> cases[] = {
        {u"DSN=libri;UID=u; Pwd = p ;x=1", u"DSN=libri;UID=u;Pwd=********;x=1"},
        {u"Password='p;q';PWD=\"p\";SSLPassword={p}};q};Driver={a;b}",
         u"Password=********;PWD=********;SSLPassword=********;Driver={a;b}"},
        {u"Extended Properties=\"DSN=libri;PWD='p;q'\"", u"Extended Properties={DSN=libri;PWD=********}"},
        {u"pqopt={connect_timeout=3 password='p'};DSN=d", u"pqopt=********;DSN=d"},
        {u"pqopt={connect_timeout=3}", u"pqopt=connect_timeout=3"},
        {u"§BASE§;PWD=§NAME§;Server=§HOST§", u"§BASE§;PWD=§NAME§;Server=§HOST§"},
        {u"PWD=§p;x=1", u"PWD=********;x=1"},
        {u"PWD=a§NAME§;PWD=;§KEY§=p", u"PWD=********;PWD=;§KEY§=********"}, {u"PWD='p", u"********"},
        {u"DSN=libri;p", u"********"},
    };
    // clang-format on
    for (const auto& [text, shown] : cases)
        EXPECT_EQ(text::toUtf8(ado::withoutPasswords(text)), text::toUtf8(shown));
}

TEST(Passwords, AreHiddenWhereAnOpeningRepeatsThem)
{
    // clang-format off
    const std::tuple<std::u16string_view, std::u16string_view, std::u16string_view> cases[] = {
        // connection text, password beside it, a message that repeats it
        {u"PWD=secret", u"", u"no source 'xsecretx'"},
        {u"Extended Properties='DSN=a;PWD=secret'", u"", u"bad: DSN=a;PWD=secret"},
        {u"pqopt={user=x password=se cret}", u"", u"missing \"=\" after \"cret\""},
        {u"DSN=a;secret", u"", u"what is secret?"}, {u"", u"secret", u"user=x password=secret"},
        {u"", u"a", u"PWD=a;"},
    };
    // clang-format on
    for (const auto& [text, password, message] : cases) {
        RuntimeError failure{1, std::u16string(message) + u" (STATE 1)", u""};
        ado::hidePasswords(failure, text, password);
        EXPECT_EQ(text::toUtf8(failure.description),
                  "The database's message is not shown: it holds a part of the password (STATE 1)");
    }
    // Passwords that are not shown: letters within words, and no password at all.
    for (const std::u16string_view password : {u"a", u"Fil", u"1", u""}) {
        RuntimeError failure{1, u"File b21 not found for user \"pat\" (STATE 08001)", u""};
        ado::hidePasswords(failure, u"UID=pat;Database=b21", password);
        EXPECT_EQ(text::toUtf8(failure.description), "File b21 not found for user \"pat\" (STATE 08001)");
    }
}

TEST(StatementShape, TakesOnlyWhatSurelyIsAValue)
{
    const std::pair<std::u16string_view, std::u16string_view> cases[] = {
        {u"SELECT a FROM t WHERE b = 'x''y' AND c ='' AND d IS NULL",
         u"SELECT a FROM t WHERE b = ? AND c =? AND d IS NULL"},
        {u"select a from t where (b<>'x') and c >= '--;/*' or d\n=\n'y'",
         u"select a from t where (b<>?) and c >= ? or d\n=\n?"},
        {u"SELECT \"it's\" FROM t WHERE \"='\"\"x\" = 'y'", u"SELECT \"it's\" FROM t WHERE \"='\"\"x\" = ?"},
    };
    for (const auto& [statement, shape] : cases)
        EXPECT_EQ(text::toUtf8(StatementShape::of(statement).withParameters()), text::toUtf8(shape));
    // clang-format off
    for (const std::u16string_view kept : {
             u"SELECT 'x' AS 'b', j->>'k', c||'z' FROM t WHERE b LIKE 'y' AND c IN ('1', '2')",
             u"SELECT a FROM t WHERE b = 'x' 'y'", u"SELECT a FROM t WHERE b = 'x'.c",
             u"SELECT a FROM t WHERE b = x'00' AND c = 'y'", u"SELECT a FROM t WHERE b = 'y' -- c = 'x'",
             u"SELECT a FROM t WHERE b = /* ' */ 'y'", u"SELECT a FROM t WHERE b = ?1 AND c = 'y'",
             u"SELECT [it's] FROM t WHERE b = 'y'", u"SELECT `it's` FROM t WHERE b = 'y'",
             u"SELECT a FROM t WHERE b = 'y", u"PRAGMA encoding = 'y'"})
        // clang-format on
        EXPECT_EQ(text::toUtf8(StatementShape::of(kept).withParameters()), text::toUtf8(kept));
}

TEST(Dates, AreReadFromIso8601Alone)
{
    // clang-format off
    const std::pair<const char*, double> cases[] = {
        {"1899-12-30", 0.0}, {"2024-02-29", 45351.0}, {"2024-02-29 18:00", 45351.75},
        {"2024-02-29T06:00:00.000Z", 45351.25}, {"2024-02-29T06:00:00+02:00", 45351.25},
        {"1899-12-29 06:00", -1.25}, {"0100-01-01", -657434.0},
    };
    // clang-format on
    for (const auto& [text, days] : cases)
        EXPECT_EQ(dateFromIso(text), days) << text;
    for (const char* text : {"2023-02-29", "2024-13-01", "2024-1-1", "2024-02-29 24:00", "2024-02-29 06",
                             "2024-02-29x", "29/02/2024", "0099-12-31", ""})
        EXPECT_EQ(dateFromIso(text), std::nullopt) << text;
}

TEST(Recordset, GivesEachValueAsItsType)
{
    SqliteFile file("CREATE TABLE T (V, D DATE, S TIMESTAMP(3), X TEXT);");
    const auto connection = open(file.connectionText());
    // clang-format off
    const std::tuple<std::string, std::string, std::string> cases[] = {
        {"V", "NULL", "null"}, {"V", "-2147483648", "long -2147483648"},
        {"V", "2147483648", "long long 2147483648"}, {"V", "0.5", "double 0.5"}, {"V", "''", "text "},
        {"V", "'a' || char(0) || 'b  '", "text a\0b  "s},
        {"V", "char(8217, 128218)", "text \u2019\U0001F4DA"}, {"V", "x'41E8'", "text A\u00E8"},
        {"V", "x'41C3A8'", "text A\u00E8"}, {"D", "'2024-02-29'", "date 45351"},
        {"S", "'2024-02-29 12:00:00'", "date 45351.5"}, {"D", "'soon'", "text soon"},
        {"X", "'2024-02-29'", "text 2024-02-29"},
    };
    // clang-format on
    for (const auto& [column, literal, value] : cases) {
        file.execute("DELETE FROM T; INSERT INTO T (" + column + ") VALUES (" + literal + ")");
        const auto rows = query(connection, "SELECT * FROM T");
        EXPECT_EQ(typeAndText(rows->Item(text::fromUtf8(column)).Value()), value) << literal;
    }
}

TEST(Recordset, FindsColumnsByNameAndByPosition)
{
    SqliteFile file("CREATE TABLE A (Code, DESCR); CREATE TABLE B (CODE, DESCR, LAST);"
                    "INSERT INTO A VALUES (1, 2); INSERT INTO B VALUES (3, 4, 5);");
    const auto rows = query(open(file.connectionText()), "SELECT * FROM A, B");
    EXPECT_EQ(rows->Item(u"CODE").Value().toLong(), 1);
    EXPECT_EQ(rows->Item(u"descr").Value().toLong(), 2);
    EXPECT_EQ(rows->Item(4).Value().toLong(), 5);
    EXPECT_EQ(failureOf([&] { rows->Item(5); }).number, 3265);
    EXPECT_EQ(failureOf([&] { rows->Item(u"NONE"); }).number, 3265);
    Field& last = rows->Item(u"LAST");
    rows->MoveNext();
    EXPECT_TRUE(rows->Eof());
    EXPECT_EQ(failureOf([&] { last.Value(); }).number, 3021);
}

TEST(Recordset, ManyOfOneShapeAreOpenAtOnce)
{
    SqliteFile file(
        "CREATE TABLE T (K, N); INSERT INTO T VALUES ('0', 10), ('1', 11), ('0', 20), ('1', 21);");
    const auto connection = open(file.connectionText());
    std::vector<std::unique_ptr<Recordset>> open;
    for (int round = 0; round < 2; ++round) {
        for (int i = 0; i < 40; ++i)
            open.push_back(
                query(connection, "SELECT N FROM T WHERE K = '" + std::to_string(i % 2) + "' ORDER BY N"));
        for (int i = 0; const auto& rows : open) {
            EXPECT_EQ(rows->Item(0).Value().toLong(), 10 + i % 2);
            rows->MoveNext();
            EXPECT_EQ(rows->Item(0).Value().toLong(), 20 + i++ % 2);
        }
        open.clear();
    }
    // A text that names its own column keeps the name.
    EXPECT_EQ(query(connection, "SELECT K = '1' FROM T")->Item(u"K = '1'").Value().toLong(), 0);
}

TEST(Recordset, FollowsChangesOfTheSchema)
{
    SqliteFile file("CREATE TABLE T (K, OLD); INSERT INTO T VALUES ('a', 1);");
    const auto connection = open(file.connectionText());
    const std::string statement = "SELECT * FROM T WHERE K = 'a'";
    EXPECT_EQ(query(connection, statement)->Item(u"OLD").Value().toLong(), 1);
    file.execute("DROP TABLE T");
    const Failed failed = failureOf([&] { query(connection, statement); });
    EXPECT_EQ(failed.number, statementFailed);
    EXPECT_EQ(failed.description, "no such table: T (SQLite error 1)");
    EXPECT_EQ(failed.source, "SQLite");
    file.execute("CREATE TABLE T (K, NEW, D DATE); INSERT INTO T VALUES ('a', 2, '2024-02-29');");
    EXPECT_EQ(query(connection, statement)->Item(u"new").Value().toLong(), 2);
    file.execute("ALTER TABLE T RENAME COLUMN NEW TO NEWER");
    EXPECT_EQ(query(connection, statement)->Item(u"NEWER").Value().toLong(), 2);
    EXPECT_EQ(failureOf([&] { query(connection, statement)->Item(u"NEW"); }).number, 3265);
    file.execute("ALTER TABLE T DROP COLUMN NEWER");
    EXPECT_EQ(query(connection, statement)->Item(u"D").Value().get().vt, VT_DATE);
}

TEST(Connection, SaysWhyItCannotOpen)
{
    SqliteFile good("CREATE TABLE T (K); INSERT INTO T VALUES (zeroblob(20000));");
    const auto sibling = [&](const char* name) { return good.path().parent_path() / name; };
    write(sibling("page.html"), std::string(5000, '<'));
    std::filesystem::copy_file(good.path(), sibling("short.db"));
    std::filesystem::resize_file(sibling("short.db"), 9000);
    const auto at = [&](const char* name) {
        return "Provider=SQLite;Password=secret;Data Source=" + sibling(name).string();
    };
    // clang-format off
    const std::tuple<std::string, std::int32_t, const char*> cases[] = {
        {at("none.db"), connectionFailed, "none.db: unable to open database file (SQLite error 14)"},
        {at("page.html"), connectionFailed, "page.html: file is not a database (SQLite error 26)"},
        {at("short.db"), connectionFailed, "short.db: database disk image is malformed (SQLite error 11)"},
        {at(""), connectionFailed, "(SQLite error "},
        {"Provider=SQLite", connectionFailed, "Data Source= is missing"},
        {"Data Source=library.db", connectionFailed, "Provider=, DSN= or Driver= is missing"},
        {"", connectionFailed, "Provider=, DSN= or Driver= is missing"},
        {"Provider=Oracle;Data Source=x", 3706, "Provider cannot be found"},
    };
    // clang-format on
    for (const auto& [text, number, says] : cases) {
        const auto connection = createConnection();
        const auto open = [&](const std::string& to) { connection->Open(text::fromUtf8(to), {}, {}, -1); };
        const Failed failed = failureOf([&, &text = text] { open(text); });
        EXPECT_EQ(failed.number, number) << text;
        EXPECT_TRUE(failed.says(says) && !failed.says("secret")) << failed.description;
        EXPECT_EQ(connection->State(), ado::stateClosed);
        open(good.connectionText());
        EXPECT_EQ(connection->State(), ado::stateOpen);
    }
}

TEST(Connection, TimeoutsEndWaitsAndLongStatements)
{
    SqliteFile file("CREATE TABLE T (K); INSERT INTO T VALUES (1);");
    const auto connection = open(file.connectionText());
    connection->CommandTimeout(1);
    const auto expectToWait = [](std::int32_t number, const char* says, const std::function<void()>& step) {
        const Failed failed = failureOf(step);
        EXPECT_EQ(failed.number, number);
        EXPECT_TRUE(failed.says(says)) << failed.description;
        EXPECT_GE(failed.seconds, 0.9);
    };
    const auto select = [&] { query(connection, "SELECT K FROM T"); };
    expectToWait(timeLimitPassed, "interrupted (SQLite error 9)", [&] {
        query(connection, "WITH RECURSIVE R(N) AS (SELECT 1 UNION ALL SELECT N + 1 FROM R) "
                          "SELECT count(*) FROM R");
    });
    file.execute("BEGIN EXCLUSIVE");
    expectToWait(timeLimitPassed, "database is locked (SQLite error 5)", select);
    expectToWait(connectionFailed, "database is locked (SQLite error 5)",
                 [&] { open(file.connectionText(), {}, {}, 1); });
    std::thread writer([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(150));
        file.execute("COMMIT");
    });
    EXPECT_NO_THROW(select()) << "the lock went in time";
    writer.join();

    // What is open reads one state of the file, also at its end; closing lets writers in.
    query(connection, "SELECT K FROM T")->Close();
    EXPECT_NO_THROW(file.execute("INSERT INTO T VALUES (3)"));
    const auto atItsEnd = query(connection, "SELECT K FROM T WHERE K = '99'");
    query(connection, "SELECT K FROM T")->Close();
    EXPECT_THROW(file.execute("INSERT INTO T VALUES (4)"), std::runtime_error);
}

// However a call ends: nothing of it keeps a writer out or shows the next call a former state.
TEST(OneState, LastsAsLongAsTheCall)
{
    const std::string statement = "SELECT count(*) FROM T";
    for (const char* mode : {"DELETE", "WAL"}) {
        const std::pair<const char*, std::function<void(Connection&, const SqliteFile&)>> cases[] = {
            {"read", [](auto&, auto&) {}},
            {"closed within", [](auto& connection, auto&) { connection.Close(); }},
            {"opened again within",
             [](Connection& connection, const SqliteFile& file) {
                 connection.Close();
                 connection.Open(text::fromUtf8(file.connectionText()), {}, {}, -1);
             }},
        };
        for (const auto& [what, end] : cases) {
            SCOPED_TRACE(std::string(mode) + ", " + what);
            SqliteFile file("PRAGMA journal_mode=" + std::string(mode) + "; CREATE TABLE T (K);");
            const std::string insert = "INSERT INTO T VALUES (1)";
            const auto connection = open(file.connectionText()), other = open(file.connectionText());
            const auto count = [&] { return first(connection, statement).toLong(); };
            {
                const OneState call;
                EXPECT_EQ(count(), 0);
                if (mode == "WAL"s) {
                    file.execute(insert);
                } else {
                    EXPECT_THROW(file.execute(insert), std::runtime_error);
                }
                EXPECT_EQ(count(), 0) << "still the same state";
                failureOf([&] { query(connection, "SELECT X FROM T"); });
                end(*connection, file);
                if (connection->State() == ado::stateOpen)
                    query(connection, "SELECT 1 FROM T");
            }
            file.execute(insert);
            const std::int32_t written = mode == "WAL"s ? 2 : 1;
            EXPECT_EQ(first(other, statement).toLong(), written);
            if (connection->State() == ado::stateOpen) {
                EXPECT_EQ(count(), written);
            }

            const OneState outer;
            {
                const OneState entered;
                EXPECT_EQ(first(other, statement).toLong(), written);
            }
            EXPECT_NO_THROW(file.execute(insert)) << "the call that entered is over";
            EXPECT_EQ(first(other, statement).toLong(), written + 1);
        }
    }
}

TEST(OneState, IsRenewedForAWriterThatWaits)
{
    for (const char* mode : {"DELETE", "WAL"}) {
        SqliteFile file("PRAGMA journal_mode=" + std::string(mode) +
                        "; PRAGMA busy_timeout=5000; CREATE TABLE T (K);");
        const auto connection = open(file.connectionText());
        const OneState call;
        const auto start = std::chrono::steady_clock::now();
        std::thread writer([&] { file.execute("INSERT INTO T VALUES (1)"); });
        while (first(connection, "SELECT count(*) FROM T").toLong() == 0)
            ASSERT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5)) << mode;
        writer.join();
    }
}

// Whatever a library's file is replaced with, its former copies are not answered for.
TEST(Connection, NoticesThatItsFileIsAnother)
{
    namespace fs = std::filesystem;
    const std::string script = "CREATE TABLE T (K); INSERT INTO T VALUES (";
    const std::pair<const char*, std::function<void(const fs::path&, const fs::path&)>> cases[] = {
        {"replaced", [](auto& other, auto& file) { fs::rename(other, file); }},
        {"made anew", [](auto& other, auto& file) { fs::copy_file(other, file); }},
        {"a link to another", [](auto& other, auto& file) { fs::create_symlink(other, file); }},
        {"deleted", nullptr},
    };
    for (const auto& [what, replace] : cases) {
        const SqliteFile before(script + "1)"), after(script + "2)");
        const auto connection = open(before.connectionText());
        const auto read = [&] { return first(connection, "SELECT K FROM T").toLong(); };
        ASSERT_EQ(read(), 1);
        fs::remove(before.path());
        if (replace)
            replace(after.path(), before.path());
        for (int again = 0; again < 2; ++again) {
            const Failed failed = failureOf(read);
            EXPECT_EQ(failed.number, connectionFailed) << what;
            EXPECT_TRUE(failed.says("replaced or deleted")) << failed.description;
            EXPECT_EQ(connection->State(), ado::stateOpen) << "or the cause would be lost";
        }
        if (replace) {
            connection->Close();
            connection->Open(text::fromUtf8(before.connectionText()), {}, {}, -1);
            EXPECT_EQ(read(), 2) << what;
        }
    }
}

TEST(Connection, RefusesMisuse)
{
    SqliteFile file("CREATE TABLE T (K); INSERT INTO T VALUES (1), (2);");
    const auto connection = createConnection();
    const auto numberOf = [](const auto& step) { return failureOf(step).number; };
    const auto open = [&] { connection->Open(text::fromUtf8(file.connectionText()), {}, {}, -1); };
    const auto select = [&] { return query(connection, "SELECT K FROM T"); };
    EXPECT_EQ(numberOf(select), 3709);
    EXPECT_EQ(numberOf([&] { query(nullptr, "SELECT K FROM T"); }), 3709);
    EXPECT_EQ(numberOf([&] { connection->Close(); }), 3704);
    open();
    EXPECT_EQ(numberOf(open), 3705);
    EXPECT_EQ(failureOf([&] { query(connection, "DELETE FROM T"); }).description,
              "attempt to write a readonly database (SQLite error 8)");

    const auto rows = select();
    Field& field = rows->Item(0);
    connection->Close();
    EXPECT_EQ(connection->State(), ado::stateClosed);
    EXPECT_NO_THROW(file.execute("INSERT INTO T VALUES (3)")) << "the closed connection holds no lock";
    EXPECT_EQ(numberOf([&] { field.Value(); }), 3704);
    EXPECT_EQ(numberOf([&] { rows->MoveNext(); }), 3704);
    open();
    EXPECT_EQ(first(connection, "SELECT count(*) FROM T").toLong(), 3);
    EXPECT_EQ(numberOf([&] { rows->Eof(); }), 3704) << "it belonged to the former session";
}

} // namespace
} // namespace vqloan::test
