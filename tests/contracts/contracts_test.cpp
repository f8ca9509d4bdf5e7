// The component over doubles of all that it calls: what it asks for, in which order, and what it makes of a
// failure at any step.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "FailureOf.h"
#include "component/DispSvr.h"
#include "component/RecordError.h"
#include "component/face/DispSvrFace.h"
#include "platform/components/DbTools.h"
#include "platform/components/SysTools.h"
#include "platform/runtime/ApplicationInfo.h"
#include "request/Deadline.h"

namespace vqloan {
namespace test {
namespace {

using namespace std::string_literals;

// The calls that were made, each a line; the one of that number fails.
struct Calls
{
    std::vector<std::string> made{};
    std::size_t failing = SIZE_MAX;

    template <class Result = int> Result note(const std::string& call, Result result = {})
    {
        made.push_back(call);
        if (made.size() - 1 == failing)
            throw RuntimeError(1000, u"broken", u"double");
        return result;
    }
    // Those that begin so.
    std::string only(const std::string& beginning) const
    {
        std::string found;
        for (const std::string& call : made)
            found += call.starts_with(beginning) ? call + "\n" : "";
        return found;
    }
} calls;

using Values = std::map<std::string, std::u16string>;

Values settings; // by key
const Values placeholders{{"A", u"§"}, {"B", u"D="}, {"C", u"c"}, {"USER", u"desk"}, {"SECRET", u"word"}};

std::string shown(const Variant& value)
{
    return value.isMissing() ? "-" : text::toUtf8(value.toText());
}

struct IniDouble : IniFile
{
    void SetFile(const std::u16string&) override { calls.note("SetFile"); }
};

struct SysToolsDouble : standins::SysTools
{
    std::u16string DirSlash(std::u16string& path) override { return calls.note("DirSlash", path + u"/"); }
    Variant ReadIni(const Variant& section, const Variant& key, const Variant& byDefault,
                    std::shared_ptr<vqloan::IniFile>&) override
    {
        calls.note("ReadIni " + shown(section) + " " + shown(key));
        return settings.contains(shown(key)) ? settings[shown(key)] : byDefault;
    }
    bool ResolvePlaceholder(std::u16string& name) override
    {
        calls.note("ResolvePlaceholder");
        const auto found = placeholders.find(text::toUtf8(name));
        name = found == placeholders.end() ? name : found->second;
        return found == placeholders.end();
    }
    void StoreError(FailureDetails& details, std::int32_t& flags, const Variant& argument8,
                    std::int32_t& argument9) override
    {
        std::string call = "StoreError ";
        for (const Variant* detail : {&details.Number, &details.Source, &details.Description,
                                      &details.HelpFile, &details.HelpContext, &details.LastDllError})
            call += shown(*detail) + ", ";
        calls.note(call + std::to_string(flags) + ", " + shown(argument8) + ", " + std::to_string(argument9));
    }
    std::u16string SysMessage(std::int32_t& code) override
    {
        return calls.note("SysMessage", u"message " + text::decimal(code));
    }
    void AfterError() override { calls.note("AfterError"); }
    std::int32_t now = 0;
    std::int32_t TickCount() override { return now; }
};

struct ConnectionDouble : Connection
{
    void ConnectionTimeout(std::int32_t seconds) override { set("ConnectionTimeout", seconds); }
    void CommandTimeout(std::int32_t seconds) override { set("CommandTimeout", seconds); }
    void CursorLocation(std::int32_t location) override { set("CursorLocation", location); }
    void Open(const std::u16string& connectionString, const std::u16string& userId,
              const std::u16string& password, std::int32_t options) override
    {
        set("Open " + text::toUtf8(connectionString + u", " + userId + u", " + password) + ",", options);
    }
    void Close() override {}
    std::int32_t State() override { return ado::stateOpen; }
    static void set(const std::string& member, std::int32_t value)
    {
        calls.note("Connection." + member + " " + std::to_string(value));
    }
};

std::map<std::string, Variant> row; // by column

struct FieldDouble : Field
{
    Variant value;
    Variant Value() override { return value; }
};

// The row, or none where that is empty. A column that it lacks is an empty text.
struct RecordsetDouble : Recordset
{
    FieldDouble field;

    void Open(std::u16string_view source, const std::shared_ptr<Connection>&, std::int32_t, std::int32_t,
              std::int32_t) override
    {
        calls.note("Recordset.Open " + text::toUtf8(source));
    }
    void Close() override {}
    bool Eof() override { return calls.note("EOF", row.empty()); }
    void MoveNext() override {}
    Field& Item(std::u16string_view name) override
    {
        const auto found = row.find(text::toUtf8(name));
        field.value = found == row.end() ? Variant(u"") : found->second;
        return field;
    }
    Field& Item(std::int32_t) override { return Item(u""); }
};

std::function<void()> whileClosing;

struct DbToolsDouble : standins::DbTools
{
    void CloseConn(std::shared_ptr<Connection>&) override
    {
        if (whileClosing)
            std::exchange(whileClosing, nullptr)();
    }
    void CloseRecordset(std::unique_ptr<Recordset>&) override { calls.note("CloseRecordset"); }
};

SysToolsDouble theSysTools;
DbToolsDouble theDbTools;

} // namespace
} // namespace test

// In the place of the real ones, which stay out of this program.
SysTools& sysTools()
{
    return test::theSysTools;
}
DbTools& dbTools()
{
    return test::theDbTools;
}
std::shared_ptr<IniFile> createIniFile()
{
    return test::calls.note("createIniFile", std::make_shared<test::IniDouble>());
}
std::shared_ptr<Connection> createConnection()
{
    return test::calls.note("createConnection", std::make_shared<test::ConnectionDouble>());
}
std::unique_ptr<Recordset> createRecordset()
{
    test::calls.note("createRecordset");
    return std::make_unique<test::RecordsetDouble>();
}

namespace test {
namespace {

// --- Recording ---

TEST(RecordError, GathersMergesAndStores)
{
    RuntimeError full(70, u"Permission denied", u"file");
    full.helpFile = u"help";
    full.helpContext = 12;
    full.lastDllError = 13;
    const RuntimeError none(0, u"");
    const Variant null = Variant::null();
    const SysTools::FailureDetails nothing, source{.Source = u"here"},
        all{u"5", u"here", u"A", u"h", std::int32_t{1}, u"2"},
        unconvertible{u"x", u"here", null, null, null, u"x"};
    using Case = std::tuple<const char*, RuntimeError, SysTools::FailureDetails, std::int32_t, std::string>;
    const Case cases[] = {
        {"nothing given", full, nothing, 0, "70, file, Permission denied, help, 12, 13, 0"},
        {"nothing pending", none, source, 0, "0, here, , , 0, 0, 0"},
        {"all given", full, all, 0, "5, here, A (Permission denied), h, 1, 2, 0"},
        {"a description alone", none, all, 0, "5, here, A, h, 1, 2, 0"},
        {"no number", {65535, u"x"}, source, 0, "0, here, x, , 0, 0, 0"},
        {"one below it", {65534, u"x"}, source, 0, "65534, here, x, , 0, 0, 0"},
        {"no number converts", full, unconvertible, 0, "70, here, Permission denied, help, 12, 13, 0"},
        {"the system's text", full, source, 2, "70, here, Permission denied\r\nmessage 13, help, 12, 13, 2"},
        {"as given", full, source, 4, "-, here, -, -, -, -, 4"},
        {"as given too", full, source, 8, "-, here, -, -, -, -, 8"},
        {"as given, without the system's text", full, source, 14, "-, here, -, -, -, -, 14"},
    };
    for (const auto& [what, failure, given, flags, stored] : cases)
        // Once as it is, then with each of the calls failing; a store that fails has been called.
        for (const std::size_t failing : {2u, 0u, 1u}) {
            calls = {.failing = failing};
            pending::set(std::make_exception_ptr(failure));
            RecordError(given, flags, Variant(u"8th"), 9);
            std::string expected = "StoreError " + stored + ", 8th, 9";
            if (failing == 0 && flags == 2)
                expected.erase(expected.find("\r\n"), std::strlen("\r\nmessage 13"));
            EXPECT_EQ(calls.made.back(), expected) << what;
            EXPECT_EQ(pending::take().number, flags < 4 ? 0 : failure.number) << what;
        }
}

// --- Opening ---

// The program that the component is part of here.
std::string module()
{
    return text::toUtf8(ApplicationInfo::ofThread().moduleName());
}

std::string record(const std::string& operation)
{
    return "StoreError 1000, " + module() + ".SvrODBC." + operation + ", 0, broken, , 0, 0, 0, -, 0\n";
}

// What an opening records when it has found a failure that has been recorded already.
std::string noticed()
{
    return "StoreError -, " + module() + ".SvrODBC.OpenDatabase, 0, -, -, -, -, 4, -, 0\n";
}

class Opening : public testing::Test
{
protected:
    const Values all{{"CONNECT", u"P;§A§B§§C§"}, {"TIMEOUT", u"30"},    {"COMMTIMEOUT", u"60"},
                     {"CURSOR", u"3"},           {"OPTIONS", u"16"},    {"USERNAME", u"§USER§"},
                     {"PASSWORD", u"§SECRET§"},  {"INVENTARIO", u"5,4"}};
};

TEST_F(Opening, AsksForTheConnectionAsConfigured)
{
    const std::tuple<const char*, Values, std::string> cases[] = {
        {"all set; the value of A joins with what follows it", all,
         "Connection.ConnectionTimeout 30\nConnection.CommandTimeout 60\nConnection.CursorLocation 3\n"
         "Connection.Open P;D=c, desk, word, 16\n"},
        {"nothing set", {}, "Connection.Open , , , -1\n"},
        {"0 leaves the provider's default",
         {{"TIMEOUT", u"0"}, {"COMMTIMEOUT", u"-1"}, {"CURSOR", u"0"}, {"OPTIONS", u"0"}},
         "Connection.Open , , , 0\n"},
        {"no password without a user", {{"PASSWORD", u"word"}}, "Connection.Open , , , -1\n"},
        {"signs",
         {{"CONNECT", u"a§b"}, {"USERNAME", u"j§"}, {"PASSWORD", u"a§b"}},
         "Connection.Open a§b, j§, a§b, -1\n"},
        {"CONNECT not resolved", {{"CONNECT", u"§A§NONE§"}}, ""},
        {"USERNAME not resolved", {{"USERNAME", u"§NONE§"}}, ""},
        {"PASSWORD not resolved", {{"PASSWORD", u"§NONE§"}}, ""},
    };
    for (const auto& [what, values, asked] : cases) {
        calls = {};
        settings = values;
        EXPECT_EQ(DispSvr().OpenDatabase(u"SQL2"), asked.empty()) << what;
        EXPECT_EQ(calls.only("Connection."), asked) << what;
        EXPECT_EQ(calls.only("StoreError"), asked.empty() ? noticed() : "") << what;
    }
}

// How many of the server's settings an object holds.
int settingsOf(const DispSvr& svr)
{
    return !svr.ConnectStr.empty() + (svr.ConnTimeout == 30) + (svr.CmdTimeout == 60) + (svr.CursorLoc == 3) +
           (svr.OpenOptions == 16) + !svr.UserName.empty() + !svr.Password.empty() + (svr.InvStart == 5) +
           (svr.BibStart == 1);
}

TEST_F(Opening, EndsAtTheStepThatFails)
{
    const CodeTable former{u"", u"former"};
    settings = all;
    for (const char16_t* kind : {u"SQL", u"SQL2"}) {
        calls = {};
        ASSERT_FALSE(DispSvr().OpenDatabase(kind));
        const std::vector<std::string> steps = calls.made;
        bool connected = false, loading = false, queried = false;
        int read = 0; // settings
        for (std::size_t i = 0; i < steps.size(); ++i) {
            SCOPED_TRACE(std::to_string(i) + " " + steps[i]);
            loading = loading || steps[i] == "createRecordset";
            // Neither ends the opening: without its file each setting has its default.
            const bool unbound = i < 3, released = steps[i] == "CloseRecordset";
            calls = {.failing = i};
            DispSvr svr;
            svr.TabMessa = svr.TabStati = former;
            EXPECT_EQ(svr.OpenDatabase(kind), !unbound && !released);
            EXPECT_EQ(calls.only("StoreError"), unbound    ? record("InitIni")
                                                : released ? ""
                                                : loading  ? record("LoadStati") + noticed()
                                                           : record("OpenDatabase"));
            EXPECT_EQ(pending::take().number, 0);
            EXPECT_NE(svr.TabMessa, former);
            if (!unbound) {
                EXPECT_EQ(settingsOf(svr), read);
                EXPECT_EQ(svr.Conn != nullptr, connected);
                EXPECT_EQ(svr.TabStati == former, !queried) << "kept until its query has run";
            }
            connected = connected || steps[i] == "createConnection";
            queried = queried || steps[i].starts_with("Recordset.Open");
            read += steps[i].starts_with("ReadIni SERVER");
            calls = {};
            EXPECT_FALSE(svr.OpenDatabase(kind)) << "the next one is good";
            EXPECT_EQ(svr.TabMessa, (CodeTable{u"", u"1\t"}));
        }
    }
}

// --- The end ---

TEST(Lifetime, AReferenceTakenWhileShuttingDownDestroysNothingAgain)
{
    calls = {};
    auto* const object = new DispSvrFace;
    whileClosing = [object] {
        object->AddRef();
        object->Release();
    };
    EXPECT_EQ(object->Release(), 0u);
    EXPECT_FALSE(whileClosing);
    EXPECT_TRUE(ModuleUse::none()) << "counted down once";
}

// --- Answering ---

TEST(Deadline, MustFitTheClock)
{
    const std::tuple<std::int32_t, std::int32_t, std::int32_t> cases[] = {
        // now, seconds, deadline; 6: "Overflow"
        {10, 5, 5010},
        {10, 0, 10},
        {10, -5, -4990},
        {647, 2147483, 2147483647},
        {648, 2147483, 6},
        {-5000, 2147484, 6},
        {-5000, 2147483, 2147478000}};
    for (const auto& [now, seconds, deadline] : cases) {
        theSysTools.now = now;
        std::int32_t given = 0;
        const std::int32_t failed =
            failureOf([&, &seconds = seconds] { given = deadlineAfter(seconds); }).number;
        EXPECT_EQ(failed ? failed : given, deadline) << now << ' ' << seconds;
    }
}

TEST(Make_LstDispo, AsksInItsOrderAndReleasesOnEveryPath)
{
    DispSvr svr;
    svr.Conn = std::make_shared<ConnectionDouble>();
    svr.InvStart = svr.BibStart = 1;
    calls = {};
    std::u16string library = u"O'1";
    EXPECT_EQ(svr.Make_LstDispo(u"X'Y", library), u"\t\t\t") << "no row";
    EXPECT_EQ(
        calls.only("Recordset.Open"),
        "Recordset.Open SELECT FLGMOVIM, DESCR FROM TABBIBLIOTECHE WHERE CODBIB = 'O''1'\n"
        "Recordset.Open SELECT * FROM MOVIMENTI WHERE CODBIB = 'O''1' AND INVENTARIO = 'X''Y' AND "
        "FLGCHIUSO IS NULL\n"
        "Recordset.Open SELECT POSSEDUTO.*, TABBIBLIOTECHE.DESCR FROM POSSEDUTO LEFT JOIN TABBIBLIOTECHE ON "
        "POSSEDUTO.CODBIB = TABBIBLIOTECHE.CODBIB WHERE POSSEDUTO.CODBIB ='O''1' AND INVENTARIO = 'X''Y'\n");
    const std::size_t steps = calls.made.size();
    for (std::size_t i = 0; i < steps; ++i) {
        SCOPED_TRACE(i);
        const bool answered = i + 2 >= steps; // failures of the last releases are ignored
        calls = {.failing = i};
        EXPECT_EQ(svr.Make_LstDispo(u"X'Y", library), answered ? u"\t\t\t"s : u"\0"s);
        EXPECT_EQ(calls.only("StoreError"), answered ? "" : record("Make_LstDispo"));
        EXPECT_EQ(calls.made.end()[-2] + calls.made.back(), "CloseRecordsetCloseRecordset");
    }
    calls = {};
    row = {{"COLLOCAZIONE", u"A 1"}, {"DATA_SCAD", u"2999-01-01"}, {"DATA", Variant()}};
    EXPECT_EQ(svr.Make_LstDispo(u"9", library), u"O'1\t\t\t\t") << "lent on an Empty date";
    row.clear();
}

TEST(VisNre, TellsOfItsFailureAfterRecordingIt)
{
    const std::u16string tooLong(40000, u'x');
    calls = {};
    EXPECT_EQ(DispSvr().VisNre(tooLong), u"");
    EXPECT_EQ(calls.made, (std::vector<std::string>{"StoreError 6, SvrODBC.VisNre, Overflow, , 0, 0, 0, -, 0",
                                                    "AfterError"}));
    calls = {.failing = 1};
    EXPECT_EQ(failureOf([&] { DispSvr().VisNre(tooLong); }).number, 1000);
}

} // namespace
} // namespace test
} // namespace vqloan
