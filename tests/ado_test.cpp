// Connection and Recordset on the embedded database.
#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <functional>
#include <optional>
#include <thread>

#include "SqliteFile.h"
#include "external/Ado.h"
#include "platform/ado/ConnectionString.h"
#include "platform/ado/DateValue.h"
#include "platform/ado/StatementShape.h"
#include "platform/runtime/RuntimeError.h"

namespace vqloan {
namespace {

using namespace std::string_literals;
using test::SqliteFile;

constexpr auto connectionFailed = static_cast<std::int32_t>(0x80004005);
constexpr auto statementFailed = static_cast<std::int32_t>(0x80040E14);
constexpr auto timeLimitPassed = static_cast<std::int32_t>(0x80040E31);
constexpr auto malformedText = static_cast<std::int32_t>(0x80040E73);

template <class Action> RuntimeError failureOf(Action action)
{
    try {
        action();
    } catch (const RuntimeError& error) {
        return error;
    }
    return {0, u"nothing failed"};
}

std::shared_ptr<Connection> open(const std::u16string& text, std::int32_t connectionTimeout = 1)
{
    const auto connection = createConnection();
    connection->ConnectionTimeout(connectionTimeout);
    connection->Open(text, u"nobody", u"secret", -1);
    return connection;
}

std::unique_ptr<Recordset> query(const std::shared_ptr<Connection>& connection, std::u16string_view statement)
{
    auto rows = createRecordset();
    rows->Open(statement, connection, ado::cursorDynamic, ado::lockReadOnly, ado::commandText);
    return rows;
}

// The first column of all rows, a semicolon after each.
std::string column(const std::shared_ptr<Connection>& connection, std::u16string_view statement)
{
    std::string all;
    for (const auto rows = query(connection, statement); !rows->Eof(); rows->MoveNext())
        all += text::toUtf8(rows->Item(0).Value().toText()) + ";";
    return all;
}

TEST(ConnectionString, FindsTheLastValueOfAKey)
{
    const struct
    {
        std::u16string_view text, key;
        std::optional<std::u16string> value;
    } cases[] = {
        {u"Provider=SQLite;Data Source=/a b/c.db", u"data source", u"/a b/c.db"},
        {u" ; Provider = SQLite ;; ", u"PROVIDER", u"SQLite"},
        {u"a=1;A=2", u"a", u"2"},
        {u"a=' x;y '' z ' ;b=2", u"a", u" x;y ' z "},
        {u"a=\"it's\"\"so\"", u"a", u"it's\"so"},
        {u"Driver={Post;gre}}SQL};b=2", u"driver", u"Post;gre}SQL"},
        {u"a=x=y", u"a", u"x=y"},
        {u"a=", u"a", u""},
        {u"a=1", u"b", std::nullopt},
        {u"", u"a", std::nullopt},
    };
    for (const auto& [text, key, value] : cases) {
        const ConnectionString connection(text);
        const std::u16string* found = connection.find(key);
        EXPECT_EQ(found ? std::optional(*found) : std::nullopt, value) << text::toUtf8(text);
    }
}

TEST(ConnectionString, SaysWhatIsMalformedWithoutQuotingIt)
{
    for (const std::u16string text :
         {u"secret", u"a=1;secret", u"=secret", u"a='secret", u"a='secret'x;b=1"}) {
        const RuntimeError error = failureOf([&] { open(text); });
        EXPECT_EQ(error.number, malformedText) << text::toUtf8(text);
        EXPECT_EQ(error.description.find(u"secret"), error.description.npos) << text::toUtf8(text);
    }
}

TEST(StatementShape, TakesOnlyWhatSurelyIsAValue)
{
    const struct
    {
        std::u16string_view statement, shape;
    } cases[] = {
        {u"SELECT a FROM t WHERE b = 'x''y' AND c ='' AND d IS NULL",
         u"SELECT a FROM t WHERE b = ? AND c =? AND d IS NULL"},
        {u"select a from t where (b<>'x') and c >= '--;/*' or d\n=\n'y'",
         u"select a from t where (b<>?) and c >= ? or d\n=\n?"},
        {u"SELECT \"it's\" FROM t WHERE \"='\"\"x\" = 'y'", u"SELECT \"it's\" FROM t WHERE \"='\"\"x\" = ?"},
        {u"SELECT 'x' AS 'b', j->>'k', c||'z' FROM t WHERE b LIKE 'y' AND c IN ('1', '2')", u""},
        {u"SELECT a FROM t WHERE b = 'x' 'y'", u""},
        {u"SELECT a FROM t WHERE b = 'x'.c", u""},
        {u"SELECT a FROM t WHERE b = x'00' AND c = 'y'", u""},
        {u"SELECT a FROM t WHERE b = 'y' -- c = 'x'", u""},
        {u"SELECT a FROM t WHERE b = /* ' */ 'y'", u""},
        {u"SELECT [it's] FROM t WHERE b = 'y'", u""},
        {u"SELECT `it's` FROM t WHERE b = 'y'", u""},
        {u"SELECT a FROM t WHERE b = ?1 AND c = 'y'", u""},
        {u"SELECT a FROM t WHERE b = 'y", u""},
        {u"PRAGMA encoding = 'y'", u""},
    };
    for (const auto& [statement, shape] : cases)
        EXPECT_EQ(text::toUtf8(StatementShape::of(statement).withParameters()),
                  text::toUtf8(shape.empty() ? statement : shape));
}

TEST(Dates, AreReadFromIso8601Alone)
{
    const struct
    {
        std::string_view text;
        std::optional<double> days;
    } cases[] = {
        {"1899-12-30", 0.0},
        {"2024-02-29", 45351.0},
        {"2024-02-29 18:00", 45351.75},
        {"2024-02-29T06:00:00.000Z", 45351.25},
        {"2024-02-29T06:00:00+02:00", 45351.25},
        {"1899-12-29 06:00", -1.25},
        {"0100-01-01", -657434.0},
        {"2023-02-29", {}},
        {"2024-13-01", {}},
        {"2024-1-1", {}},
        {"2024-02-29 24:00", {}},
        {"2024-02-29 06", {}},
        {"2024-02-29x", {}},
        {"29/02/2024", {}},
        {"0099-12-31", {}},
        {"", {}},
    };
    for (const auto& [text, days] : cases)
        EXPECT_EQ(dateFromIso(text), days) << text;
}

TEST(Recordset, GivesEachValueAsItsType)
{
    SqliteFile file("CREATE TABLE T (V, D DATE, S TIMESTAMP(3), X TEXT);");
    const auto connection = open(file.connectionText());
    const struct
    {
        std::string column, literal;
        VARTYPE type;
        std::u16string text;
    } cases[] = {
        {"V", "NULL", VT_NULL, u""},
        {"V", "-2147483648", VT_I4, u"-2147483648"},
        {"V", "2147483648", VT_I8, u"2147483648"},
        {"V", "0.5", VT_R8, u"0.5"},
        {"V", "''", VT_BSTR, u""},
        {"V", "'a' || char(0) || 'b  '", VT_BSTR, u"a\0b  "s},
        {"V", "char(8217, 128218)", VT_BSTR, u"\u2019\U0001F4DA"},
        {"V", "x'41E8'", VT_BSTR, u"A\u00E8"},
        {"V", "x'41C3A8'", VT_BSTR, u"A\u00E8"},
        {"D", "'2024-02-29'", VT_DATE, u""},
        {"S", "'2024-02-29 12:00:00'", VT_DATE, u""},
        {"D", "'soon'", VT_BSTR, u"soon"},
        {"X", "'2024-02-29'", VT_BSTR, u"2024-02-29"},
    };
    for (const auto& [name, literal, type, text] : cases) {
        file.execute("DELETE FROM T; INSERT INTO T (" + name + ") VALUES (" + literal + ")");
        const Variant value = query(connection, u"SELECT * FROM T")->Item(text::fromUtf8(name)).Value();
        EXPECT_EQ(value.get().vt, type) << literal;
        if (type == VT_DATE) {
            EXPECT_EQ(static_cast<int>(value.toDate()), 45351) << literal;
        } else if (type != VT_NULL) {
            EXPECT_EQ(value.toText(), text) << literal;
        }
    }
}

TEST(Recordset, FindsColumnsByNameAndByPosition)
{
    SqliteFile file("CREATE TABLE A (Code, DESCR); CREATE TABLE B (CODE, DESCR, LAST);"
                    "INSERT INTO A VALUES (1, 2); INSERT INTO B VALUES (3, 4, 5);");
    const auto rows = query(open(file.connectionText()), u"SELECT * FROM A, B");
    EXPECT_EQ(rows->Item(u"CODE").Value().toLong(), 1);
    EXPECT_EQ(rows->Item(u"descr").Value().toLong(), 2);
    EXPECT_EQ(rows->Item(4).Value().toLong(), 5);
    EXPECT_EQ(failureOf([&] { rows->Item(5); }).number, 3265);
    EXPECT_EQ(failureOf([&] { rows->Item(-1); }).number, 3265);
    EXPECT_EQ(failureOf([&] { rows->Item(u"NONE"); }).number, 3265);
    Field& last = rows->Item(u"LAST");
    rows->MoveNext();
    EXPECT_TRUE(rows->Eof());
    EXPECT_EQ(failureOf([&] { last.Value(); }).number, 3021);
    EXPECT_EQ(failureOf([&] { rows->MoveNext(); }).number, 3021);
}

TEST(Recordset, ManyOfOneShapeAreOpenAtOnce)
{
    SqliteFile file(
        "CREATE TABLE T (K, N); INSERT INTO T VALUES ('0', 10), ('1', 11), ('0', 20), ('1', 21);");
    const auto connection = open(file.connectionText());
    std::vector<std::unique_ptr<Recordset>> open;
    for (int round = 0; round < 2; ++round) {
        for (int i = 0; i < 40; ++i)
            open.push_back(query(connection, i % 2 ? u"SELECT N FROM T WHERE K = '1' ORDER BY N"
                                                   : u"SELECT N FROM T WHERE K = '0' ORDER BY N"));
        for (int i = 0; i < 40; ++i) {
            EXPECT_EQ(open[static_cast<std::size_t>(i)]->Item(0).Value().toLong(), 10 + i % 2);
            open[static_cast<std::size_t>(i)]->MoveNext();
            EXPECT_EQ(open[static_cast<std::size_t>(i)]->Item(0).Value().toLong(), 20 + i % 2);
        }
        open.clear();
    }
    // A text that names its own column keeps the name.
    EXPECT_EQ(query(connection, u"SELECT K = '1' FROM T")->Item(u"K = '1'").Value().toLong(), 0);
}

TEST(Recordset, FollowsChangesOfTheSchema)
{
    SqliteFile file("CREATE TABLE T (K, OLD); INSERT INTO T VALUES ('a', 1);");
    const auto connection = open(file.connectionText());
    const std::u16string statement = u"SELECT * FROM T WHERE K = 'a'";
    EXPECT_EQ(query(connection, statement)->Item(u"OLD").Value().toLong(), 1);
    file.execute("DROP TABLE T");
    const RuntimeError error = failureOf([&] { query(connection, statement); });
    EXPECT_EQ(error.number, statementFailed);
    EXPECT_EQ(error.description, u"no such table: T (SQLite error 1)");
    EXPECT_EQ(error.source, u"SQLite");
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
    std::ofstream(sibling("page.html")) << std::string(5000, '<');
    std::filesystem::copy_file(good.path(), sibling("short.db"));
    std::filesystem::resize_file(sibling("short.db"), 9000);
    const auto at = [&](const char* name) {
        return u"Provider=SQLite;Password=secret;Data Source=" + text::fromUtf8(sibling(name).string());
    };
    const struct
    {
        std::u16string text;
        std::int32_t number;
        std::u16string_view says;
    } cases[] = {
        {at("none.db"), connectionFailed, u"none.db: unable to open database file (SQLite error 14)"},
        {at("page.html"), connectionFailed, u"page.html: file is not a database (SQLite error 26)"},
        {at("short.db"), connectionFailed, u"short.db: database disk image is malformed (SQLite error 11)"},
        {at(""), connectionFailed, u"(SQLite error "},
        {u"Provider=SQLite", connectionFailed, u"Data Source= is missing"},
        {u"Data Source=library.db", connectionFailed, u"Provider=, DSN= or Driver= is missing"},
        {u"", connectionFailed, u"Provider=, DSN= or Driver= is missing"},
        {u"Provider=Oracle;Data Source=x", 3706, u"Provider=Oracle"},
    };
    for (const auto& refused : cases) {
        const auto connection = createConnection();
        const RuntimeError error = failureOf([&] { connection->Open(refused.text, u"", u"", -1); });
        EXPECT_EQ(error.number, refused.number) << text::toUtf8(refused.text);
        EXPECT_NE(error.description.find(refused.says), error.description.npos)
            << text::toUtf8(error.description);
        EXPECT_EQ(error.description.find(u"secret"), error.description.npos);
        EXPECT_EQ(connection->State(), ado::stateClosed);
        connection->Open(good.connectionText(), u"", u"", -1);
        EXPECT_EQ(connection->State(), ado::stateOpen);
    }
}

// Seconds that the action took, which must fail with that number and text.
double timeToFail(std::int32_t number, std::u16string_view says, const std::function<void()>& action)
{
    const auto start = std::chrono::steady_clock::now();
    const RuntimeError error = failureOf(action);
    EXPECT_EQ(error.number, number);
    EXPECT_NE(error.description.find(says), error.description.npos) << text::toUtf8(error.description);
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

TEST(Connection, TimeoutsEndWaitsAndLongStatements)
{
    SqliteFile file("CREATE TABLE T (K); INSERT INTO T VALUES (1);");
    const auto connection = open(file.connectionText());
    connection->CommandTimeout(1);
    const auto select = [&] { query(connection, u"SELECT K FROM T"); };
    const auto count = [&] {
        query(connection,
              u"WITH RECURSIVE R(N) AS (SELECT 1 UNION ALL SELECT N + 1 FROM R) SELECT count(*) FROM R");
    };
    EXPECT_GE(timeToFail(timeLimitPassed, u"interrupted (SQLite error 9)", count), 0.9);

    file.execute("BEGIN EXCLUSIVE");
    EXPECT_GE(timeToFail(timeLimitPassed, u"database is locked (SQLite error 5)", select), 0.9);
    EXPECT_GE(timeToFail(connectionFailed, u"database is locked (SQLite error 5)",
                         [&] { open(file.connectionText(), 1); }),
              0.9);
    std::thread writer([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(150));
        file.execute("COMMIT");
    });
    EXPECT_NO_THROW(select()) << "the lock went in time";
    writer.join();

    // What is open reads one state of the file, also at its end; closing lets writers in.
    auto first = query(connection, u"SELECT K FROM T WHERE K = '99'");
    const auto second = query(connection, u"SELECT K FROM T");
    first.reset();
    EXPECT_THROW(file.execute("INSERT INTO T VALUES (3)"), std::runtime_error);
    second->Close();
    EXPECT_NO_THROW(file.execute("INSERT INTO T VALUES (3)"));
    first = query(connection, u"SELECT K FROM T WHERE K = '99'");
    EXPECT_THROW(file.execute("INSERT INTO T VALUES (4)"), std::runtime_error);
}

TEST(Connection, RefusesMisuse)
{
    SqliteFile file("CREATE TABLE T (K); INSERT INTO T VALUES (1), (2);");
    const auto connection = createConnection();
    EXPECT_EQ(failureOf([&] { query(connection, u"SELECT K FROM T"); }).number, 3709);
    EXPECT_EQ(failureOf([&] { query(nullptr, u"SELECT K FROM T"); }).number, 3709);
    EXPECT_EQ(failureOf([&] { connection->Close(); }).number, 3704);
    EXPECT_EQ(failureOf([&] { connection->ConnectionTimeout(-1); }).number, 3001);
    EXPECT_EQ(failureOf([&] { connection->CursorLocation(4); }).number, 3001);
    connection->Open(file.connectionText(), u"", u"", -1);
    EXPECT_EQ(failureOf([&] { connection->Open(file.connectionText(), u"", u"", -1); }).number, 3705);
    EXPECT_EQ(failureOf([&] { connection->ConnectionTimeout(2); }).number, 3705);
    EXPECT_EQ(failureOf([&] { query(connection, u"DELETE FROM T"); }).description,
              u"attempt to write a readonly database (SQLite error 8)");

    const auto rows = query(connection, u"SELECT K FROM T");
    EXPECT_EQ(failureOf([&] {
                  rows->Open(u"SELECT 1", connection, ado::cursorDynamic, ado::lockReadOnly,
                             ado::commandText);
              }).number,
              3705);
    Field& field = rows->Item(0);
    connection->Close();
    EXPECT_EQ(connection->State(), ado::stateClosed);
    EXPECT_NO_THROW(file.execute("INSERT INTO T VALUES (3)")) << "the closed connection holds no lock";
    EXPECT_EQ(failureOf([&] { field.Value(); }).number, 3704);
    EXPECT_EQ(failureOf([&] { rows->MoveNext(); }).number, 3704);
    connection->Open(file.connectionText(), u"", u"", -1);
    EXPECT_EQ(column(connection, u"SELECT K FROM T"), "1;2;3;");
    EXPECT_EQ(failureOf([&] { rows->Eof(); }).number, 3704) << "it belonged to the former session";
    rows->Close();
    EXPECT_EQ(failureOf([&] { rows->Close(); }).number, 3704);
}

} // namespace
} // namespace vqloan
