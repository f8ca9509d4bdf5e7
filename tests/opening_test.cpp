// Opening the back ends: which settings are read, what is stored, and what survives a failure.
#include <gtest/gtest.h>

#include <tuple>

#include "Network.h"
#include "Queries.h"
#include "Site.h"
#include "SqliteFile.h"
#include "config/PositionPair.h"

namespace vqloan::test {
namespace {

using namespace std::string_literals;

class Opening : public testing::Test
{
protected:
    Opening() { setenv("VQLOAN_TEST_DB", database.path().c_str(), 1); }

    std::string server(const std::string& keys) const
    {
        return "[SERVER]\nCONNECT=Provider=SQLite;Data Source=§VQLOAN_TEST_DB§;\n" + keys + "\n" + messages;
    }

    Site site;
    SqliteFile database{"BEGIN;" + schemaAndRows() + "COMMIT;"};
};

TEST_F(Opening, Kinds)
{
    site.settings(server(""));
    site.hostParameters("codbib=01,AB,Centrale\n");
    const std::tuple<Variant, bool, std::int16_t> cases[] = {
        {Variant(u" Sql2 "), false, 3}, {Variant(u"SQL 2"), false, 0},           {Variant(u""), false, 0},
        {Variant(), false, 0},          {Variant(std::int32_t{7000}), false, 1}, {Variant(7000.0), false, 1},
        {Variant(u"sql"), false, 2},    {Variant(u"\tSQL"), false, 0},           {Variant::null(), true, 0},
    };
    for (const auto& [kind, failed, opened] : cases) {
        Client client = site.client();
        EXPECT_EQ(client.open(kind), failed);
        EXPECT_EQ(client.kind(), opened) << text::toUtf8(failed ? u"Null" : kind.toText());
        EXPECT_EQ(client.ownLibrary(), opened == 1 ? "00" : "");
    }
    EXPECT_EQ(site.client().failure().number, 94) << "Null is no text";
}

TEST_F(Opening, FailuresAndWhatTheyLeave)
{
    const SqliteFile bare("CREATE TABLE X (Y)"), locked("CREATE TABLE X (Y); BEGIN EXCLUSIVE"),
        wrong("CREATE TABLE TABBLOCCOMAT (CODBLOCMAT); INSERT INTO TABBLOCCOMAT VALUES (1)");
    const auto connect = [](const std::string& to) { return "[SERVER]\nTIMEOUT=1\nCONNECT=" + to + "\n"; };
    constexpr std::int32_t unresolved = -2147220991;
    // clang-format off
    const std::tuple<const char*, const char*, std::string, std::int32_t, const char*> cases[] = {
        {"no CLIENT.PAR", "7000", "", 53, "File not found"},
        {"NUMMSG out of range", "SQL2", "[MESSAGGI]\nNUMMSG=32768\n", 6, "Overflow"},
        {"ID empty", "SQL", "[CLIENT]\nID=\n", 13, ""},
        {"TIMEOUT no number", "SQL", "[CLIENT]\nTIMEOUT=5s\n", 13, ""},
        {"unknown placeholder", "SQL2", connect("DSN=§VQLOAN_TEST_NONE§"), unresolved, "§VQLOAN_TEST_NONE§"},
        {"no name", "SQL2", "[SERVER]\nUSERNAME=§§\n", unresolved, ""},
        {"COMMTIMEOUT no number", "SQL2", server("COMMTIMEOUT=x"), 13, ""},
        {"INVENTARIO empty", "SQL2", server("INVENTARIO="), 9, "Subscript out of range"},
        {"BIBLIOTECA out of range", "SQL2", server("BIBLIOTECA=1,40000"), 6, ""},
        {"no file", "SQL2", connect("Provider=SQLite;Data Source=none.db"), connectionFailed, "none.db"},
        {"locked for longer than TIMEOUT", "SQL2", connect(locked.connectionText()), connectionFailed, "locked"},
        {"without TABBLOCCOMAT", "SQL2", connect(bare.connectionText()), statementFailed, "TABBLOCCOMAT"},
        {"without a column", "SQL2", connect(wrong.connectionText()), 3265, "MESSAGGIO"},
    };
    // clang-format on
    Client client = site.client();
    for (const auto& [what, kind, settings, number, text] : cases) {
        SCOPED_TRACE(what);
        site.settings(settings);
        const auto open = [&, &kind = kind] { EXPECT_TRUE(client.open(kind)); };
        EXPECT_LT(failureOf(open).seconds, 5);
        const Failed failure = client.failure();
        EXPECT_EQ(failure.number, number);
        EXPECT_EQ(failure.source, "VQLoan.SvrODBC.OpenDatabase, 0");
        EXPECT_TRUE(failure.says(text)) << failure.description;
        EXPECT_EQ(client.kind(), kind == "7000"s ? 1 : kind == "SQL"s ? 2 : 3);
        EXPECT_EQ(client.ownLibrary(), "00") << "as the first open left it";
        site.settings(server("INVENTARIO=1"));
        EXPECT_FALSE(client.open("SQL2")) << "the next good open succeeds";
        EXPECT_EQ(client.ask("01||FREE\n"), "Inv. FREE|Civica|Inv. FREE|Disponibile|||\n");
    }
}

TEST_F(Opening, NoPasswordIsRecorded)
{
    setenv("VQLOAN_TEST_SECRET", "hunter2", 1);
    for (const char* keys :
         {"CONNECT=Provider=SQLite;Data Source=/none;§VQLOAN_TEST_SECRET§\n",
          "CONNECT=Provider=SQLite;Data Source=/none;PWD=a§hunter2;Server=§VQLOAN_TEST_SECRET§\n",
          "CONNECT=Driver=hunter2;PWD=hunter2\n", "CONNECT=DSN=none\nUSERNAME=u\nPASSWORD=§hunter2\n",
          "CONNECT=DSN=none\nUSERNAME=u\nPASSWORD=§hun§ter2\n"}) {
        site.settings("[SERVER]\n" + std::string(keys));
        Client client = site.client();
        EXPECT_TRUE(client.open("SQL2"));
        const Failed failure = client.failure();
        EXPECT_FALSE(failure.description.empty() || failure.says("hunter2")) << keys << failure.description;
    }
}

TEST_F(Opening, LibraryLines)
{
    const std::string ten =
        "codbib=01,AA,Uno\ncodbib=02,AA,Due\ncodbib=03,AA,x\ncodbib=04,AA,x\ncodbib=05,AA,x\n"
        "codbib=06,AA,x\ncodbib=07,AA,x\ncodbib=08,AA,x\ncodbib=09,AA,x\nCodBib=10;ZZ;Dieci\n";
    // clang-format off
    const std::tuple<const char*, std::string, bool, const char*, const char*> cases[] = {
        {"group line", "XY=Chiusa\nCODBIB=01,XY,Centrale\n", false, "01", "**Centrale"},
        {"no = in the line before", "XY Chiusa\nCODBIB=01,ZZ,Centrale\n", false, "01", "Centrale"},
        {"the last group wins", "AA=x\ncodbib=01,AA,A\nBB=y\ncodbib=02,BB,B\ncodbib=03,AA,C\n", false, "02", "**B"},
        {"an earlier group", "", false, "03", "C"}, {"short line", "codbib=1", false, "1", ""},
        {"rows behind the last keep what they held", "", false, "02", "**B"},
        {"codes are exact", "", false, "02 ", ""}, {"ten", "ZZ=no\n" + ten, false, "10", "**Dieci"},
        {"eleven", ten + "codbib=11,AA,x\n", true, "02", "Due"},
    };
    // clang-format on
    Client client = site.client();
    for (const auto& [what, lines, failed, code, name] : cases) {
        if (!lines.empty()) {
            site.hostParameters(lines);
            EXPECT_EQ(client.open("7000"), failed) << what;
        }
        EXPECT_EQ(client.testCodBib(code), name) << what;
    }
    EXPECT_EQ(client.failure().number, 9);
    EXPECT_EQ(site.client().testCodBib(""), "**")
        << "nothing loaded: row 1 is empty, and so is the skipped group";
}

TEST_F(Opening, ReloadingTheMessagesRaisesItsFailure)
{
    Client client = site.client();
    EXPECT_EQ(client.object->Load_Messa(), S_OK) << "no file: one empty message";
    site.settings("[MESSAGGI]\nNUMMSG=many\n");
    EXPECT_EQ(client.object->Load_Messa(), static_cast<HRESULT>(0x800A000D));
    EXPECT_EQ(client.failure().number, 0) << "raised, not recorded";
}

TEST_F(Opening, AnObjectReadsTheDirectoryThatItIsTold)
{
    Site other;
    site.hostParameters("codbib=01,AB,Centrale\n");
    other.hostParameters("codbib=01,AB,Altra\n");
    other.settings("[MESSAGGI]\nNUMMSG=many\n");
    Client client = site.client(), untold = site.client();
    ComPtr<IDispSvrSite> directory;
    check(client.object->QueryInterface(IID_IDispSvrSite, directory.addressVoid()));
    // clang-format off
    const std::tuple<std::u16string, HRESULT, const char*, bool> cases[] = {
        {u"", S_OK, "Centrale", false}, {other.directory.path().u16string(), S_OK, "Altra", true},
        {u"relative", E_INVALIDARG, "Altra", true}, {u"", S_OK, "Centrale", false},
    };
    // clang-format on
    for (const auto& [path, result, library, settingsFail] : cases) {
        EXPECT_EQ(directory->put_Directory(Bstr(path).get()), result);
        EXPECT_FALSE(client.open("7000"));
        EXPECT_EQ(client.testCodBib("01"), library);
        EXPECT_EQ(client.open("SQL"), settingsFail);
        EXPECT_FALSE(untold.open("7000"));
        EXPECT_EQ(untold.testCodBib("01"), "Centrale");
    }
}

TEST_F(Opening, AnotherKindLeavesTheConnection)
{
    site.settings(server("INVENTARIO=1"));
    site.hostParameters("");
    Client client = site.client();
    EXPECT_FALSE(client.open("SQL2"));
    EXPECT_FALSE(client.open("7000"));
    client.object->put_DBType(3);
    EXPECT_EQ(client.ask("01||FREE\n"), "Inv. FREE|Civica|Inv. FREE|Disponibile|||\n");
    site.settings("[SERVER]\nCONNECT=Provider=SQLite;Data Source=/nowhere.db\n");
    EXPECT_TRUE(client.open("SQL2"));
    EXPECT_EQ(client.ask("01||FREE\n"), "Inv. FREE|01|Inv. FREE||\n") << "its own takes its place, closed";
}

TEST(PositionPair, Elements)
{
    const std::tuple<const char16_t*, std::int16_t, std::int16_t> cases[] = {
        {u"5,4", 5, 4},     {u"0", 1, 8},  {u"x", 1, 8},   {u"2.5", 2, 8},
        {u"3.5,", 4, 0},    {u",3", 1, 3}, {u"-2", -2, 8}, {u" 1 2 ,&H1F", 12, 31},
        {u"1e1,7,9", 10, 7}};
    for (const auto& [value, expectedStart, expectedLength] : cases) {
        std::int16_t start = 0, length = 8;
        settings::readPositionPair(value, settings::WhenEmpty::fail, start, length);
        EXPECT_EQ(std::pair(start, length), std::pair(expectedStart, expectedLength)) << text::toUtf8(value);
    }
}

} // namespace
} // namespace vqloan::test
