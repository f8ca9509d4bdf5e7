// The availability of copies on the library database, asked through the published interface.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>
#include <tuple>

#include "Databases.h"
#include "Queries.h"
#include "Site.h"

namespace vqloan::test {
namespace {

using namespace std::string_literals;

class Availability : public testing::TestWithParam<DatabaseKind>
{
protected:
    void SetUp() override
    {
        if (const std::string why = GetParam().whyNot(); !why.empty())
            GTEST_SKIP() << why;
        database_ = GetParam().make();
        run("BEGIN;" + schemaAndRows() + "COMMIT;");
        connect = database_.connectionText;
        site.settings(databaseSettings(connect));
    }
    Client opened()
    {
        Client client = site.client();
        EXPECT_FALSE(client.open("SQL2")) << client.failure().description;
        return client;
    }
    void run(const std::string& statements) { database_.run(statements); }

    Site site;
    std::string connect;

private:
    LibraryDatabase database_;
};

INSTANTIATE_TEST_SUITE_P(, Availability, testing::ValuesIn(databaseKinds),
                         [](const auto& kind) { return std::string(kind.param.name); });

TEST_P(Availability, EverySituationInItsOrderOfPrecedence)
{
    Client desk = opened();
    for (const Question& question : questions())
        EXPECT_EQ(desk.ask(requestLine(question)), answerLine(question)) << question.situation;
}

TEST_P(Availability, OutOfServiceWithoutATextOfItsOwn)
{
    std::string settings = databaseSettings(connect);
    settings.resize(settings.find("11=Fuori"));
    site.settings(settings);
    EXPECT_EQ(opened().ask("01||OUT\n"), "Inv. OUT|Civica|Inv. OUT|(stato) Sollecitato||||\n");
}

TEST_P(Availability, ConfiguredPartsOfCodeAndNumber)
{
    const auto ask = [&](const std::string& number, const std::string& code, const std::string& request) {
        site.settings("[SERVER]\nCONNECT=" + connect + "\nINVENTARIO=" + number + "\nBIBLIOTECA=" + code +
                      "\n" + messages);
        return opened().ask(request);
    };
    EXPECT_EQ(ask("3,4", "2,2", "X01Y||00FREE99\n"), "Inv. 00FREE99|Civica|Inv. 00FREE99|Disponibile|||\n");
    EXPECT_EQ(ask("3,4", "2,2", "X||00FREE\n"), "Inv. 00FREE||Inv. 00FREENon posseduto||||\n")
        << "a start beyond the end";
    for (const char* impossible : {"-1,2", "1,-1"}) // the number comes first: the code is whole still
        EXPECT_EQ(ask(impossible, "2,2", "X01Y||FREE\n"),
                  "Codice Bibl. X01Y|Coll. , Inv. FREE|ERRORE: Invalid procedure call or argument\n");
    run("ALTER TABLE MOVIMENTI RENAME TO X");
    EXPECT_TRUE(ask("1", "2,2", "X01Y||FREE\n").starts_with("Codice Bibl. 01|")) << "it stays shortened";
}

// Each line that fails says so, with its cause recorded, and the next one is answered.
TEST_P(Availability, AFailureIsThatOfItsLine)
{
    const auto due = [](const std::string& date) {
        return "UPDATE MOVIMENTI SET DATA_SCAD=" + date + " WHERE INVENTARIO='LENT'";
    };
    const std::tuple<const char*, std::string, std::string, std::int32_t> cases[] = {
        {"a table is gone", "ALTER TABLE MOVIMENTI RENAME TO X", "ALTER TABLE X RENAME TO MOVIMENTI",
         statementFailed},
        {"a column is gone", "ALTER TABLE POSSEDUTO RENAME COLUMN STATO TO X",
         "ALTER TABLE POSSEDUTO RENAME COLUMN X TO STATO", 3265},
        {"the due date is none", due("'soon'"), due("'" + dayFromToday(1) + "'"), 13},
        {"no due date", due("NULL"),
         due("'" + dayFromToday(1, GetParam().isUntyped ? "%m/%d/%Y" : "%Y-%m-%d") + "'"), 13},
    };
    Client desk = opened();
    for (const auto& [what, damage, repair, number] : cases) {
        if (damage == due("'soon'") && !GetParam().isUntyped)
            continue; // the database keeps such a value out
        SCOPED_TRACE(what);
        run(damage);
        const std::string answer = desk.ask("01|A 1|LENT\n02||FREE\n");
        const Failed failure = desk.failure();
        EXPECT_EQ(answer, "Codice Bibl. 01|Coll. A 1, Inv. LENT|ERRORE: " + failure.description +
                              "\nInv. FREE|Archivio|Inv. FREESenza prestiti||||\n");
        EXPECT_EQ(failure.source, "VQLoan.SvrODBC.Make_LstDispo, 0");
        EXPECT_EQ(failure.number, number) << failure.description;
        run(repair);
        EXPECT_EQ(desk.ask("01||LENT\n"), "Inv. LENT|Civica|Inv. LENT|In prestito|29-02-2024|||\n");
    }
}

// Values that would end, extend or comment out the statement if they were not kept apart from it.
TEST_P(Availability, NoValueChangesAStatement)
{
    Client desk = opened();
    // Whether the driver manager cuts to bytes depends on the process's locale, which other drivers set.
    const auto isKeptOut = [](const std::string& answer) {
        return GetParam().cutsToBytes && answer.find("takes no text beyond ASCII") != answer.npos;
    };
    // The last but one is quotes, once cut to bytes.
    for (const std::string& value : {"' OR '1'='1"s, "FREE' --"s, "x'; DROP TABLE POSSEDUTO; --"s, "''"s,
                                     "'"s, "\\'"s, "FREE'/*"s, "\""s, "[a"s, "`"s, "?1 :a @b $c"s, "% _"s,
                                     "\u4E2D\U0001F4D6"s, "\u0127 OR \u01271\u0127=\u01271"s, "FREE\0X"s}) {
        const std::string number = "Inv. " + text::toUtf8(text::upper(text::fromUtf8(value)));
        const std::string answer = desk.ask("01||" + value + "\n");
        if (isKeptOut(answer))
            continue;
        EXPECT_EQ(answer, readable(wire(number + "||" + number + "Non posseduto||||\n")));
        EXPECT_EQ(desk.ask(value + "||FREE\n"), "Inv. FREE||Inv. FREENon posseduto||||\n") << value;
    }
    // A backslash before the quote, and a character that some servers' code pages lack.
    for (const std::string value : {" OR 1=1 -- \u4E00", " OR 1=1 -- "}) {
        const std::string answer = desk.ask("\\||" + value + "\n");
        EXPECT_TRUE(answer.find("Non posseduto") != answer.npos || isKeptOut(answer)) << answer;
    }
    EXPECT_EQ(desk.ask("01||FREE\n"), "Inv. FREE|Civica|Inv. FREE|Disponibile|||\n") << "nothing was dropped";
}

TEST_P(Availability, DatesKeptAsText)
{
    run("DROP TABLE MOVIMENTI; CREATE TABLE MOVIMENTI (CODBIB VARCHAR(9), INVENTARIO VARCHAR(40), "
        "FLGCHIUSO VARCHAR(1), LIVSOLL INTEGER, DATA_SCAD VARCHAR(40), DATA VARCHAR(40));"
        "INSERT INTO MOVIMENTI VALUES ('01','LENT',NULL,0,'" +
        dayFromToday(0) + " 10:30','2024-02-29T08:00:00')");
    EXPECT_EQ(opened().ask("01||LENT\n"), "Inv. LENT|Civica|Inv. LENT|In prestito|29-02-2024|||\n");
}

TEST(EmbeddedDatabase, IsReplacedWhileAClientAsks)
{
    using std::chrono::steady_clock;
    const SqliteFile former(schemaAndRows()),
        next(schemaAndRows() + "UPDATE TABBIBLIOTECHE SET DESCR='Nuova' WHERE CODBIB='01'");
    Site site;
    site.settings(databaseSettings(former.connectionText()));
    Client desk = site.client();
    ASSERT_FALSE(desk.open("SQL2"));
    std::string request;
    for (int line = 0; line < 200; ++line)
        request += "01||FREE\n";
    steady_clock::time_point replaced;
    std::thread clerk([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        rename(next.path(), former.path());
        replaced = steady_clock::now();
    });
    std::string answer;
    do
        answer = desk.ask(request);
    while (answer.ends_with("Inv. FREE|Civica|Inv. FREE|Disponibile|||\n"));
    const auto noticed = steady_clock::now();
    clerk.join();
    EXPECT_LT(noticed - replaced, std::chrono::seconds(1));
    EXPECT_TRUE(answer.find("deleted since it was opened") != answer.npos) << answer.substr(0, 200);
    EXPECT_EQ(desk.ask("01||FREE\n").find("Civica"), std::string::npos);
    EXPECT_FALSE(desk.open("SQL2"));
    EXPECT_EQ(desk.ask("01||FREE\n"), "Inv. FREE|Nuova|Inv. FREE|Disponibile|||\n");
}

TEST_P(Availability, WithoutAConnectionTheRecordIsEmpty)
{
    Client desk = opened();
    desk.object->ShutDown();
    EXPECT_EQ(desk.ask("01||FREE\n"), "Inv. FREE|01|Inv. FREE||\n");
    EXPECT_EQ(opened().ask("01||\n"), "|01|||\n") << "nor without an inventory number";
}

} // namespace
} // namespace vqloan::test
