// The stand-ins for the closed components.
#include <cstdlib>
#include <thread>
#include <tuple>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "FailureOf.h"
#include "ScratchDirectory.h"
#include "platform/components/IniFile.h"
#include "platform/components/SysTools.h"
#include "platform/runtime/TextFiles.h"

namespace vqloan::test {
namespace {

using namespace std::string_literals;

class StandIns : public ::testing::Test
{
protected:
    std::u16string readIni(const char16_t* section, const char16_t* key)
    {
        return tools.ReadIni(section, key, u"default", ini).toText();
    }
    // The last record's number, description and source.
    std::string record()
    {
        Variant number, source, description;
        tools.GetError(number.address(), source.address(), description.address(), nullptr, nullptr, nullptr);
        return std::to_string(number.toLong()) + "|" + text::toUtf8(description.toText()) + "|" +
               text::toUtf8(source.toText());
    }
    void store(SysTools::FailureDetails details, std::int32_t flags)
    {
        std::int32_t zero = 0;
        tools.StoreError(details, flags, Variant::missing(), zero);
    }
    // The value of the placeholder, or "unresolved".
    std::u16string resolve(std::u16string name)
    {
        const std::u16string asked = name;
        if (!tools.ResolvePlaceholder(name))
            return name;
        EXPECT_EQ(name, asked);
        return u"unresolved";
    }

    standins::SysTools tools;
    std::shared_ptr<IniFile> ini = std::make_shared<standins::IniFile>();
    ScratchDirectory scratch;
};

TEST_F(StandIns, SettingsFollowProfileFileConventions)
{
    const std::tuple<std::string, const char16_t*, const char16_t*, const char16_t*> cases[] = {
        // contents, section, key, value
        {"[SERVER]\r\nConnect = Data Source=x;Mode=r \t\r\n", u"server ", u" CONNECT",
         u"Data Source=x;Mode=r"},
        {" \t[ S ] trailing\nK=1", u"S", u"K", u"1"},
        {"[S]\nK=1\nK=2\n", u"S", u"K", u"1"},
        {"[S]\n[T]\n[S]\nK=1\n", u"S", u"K", u"default"}, // only the first section of a name counts
        {"[S]\n[OTHER\nK=1\n", u"OTHER", u"K", u"1"},     // a header without its bracket is one
        {"[S]\n[OTHER\nK=1\n", u"S", u"K", u"default"},
        {"[S]\nA=\rK= \t \n", u"S", u"K", u""},
        {"[S]\nK\n=nameless\n", u"S", u"K", u"default"},
        {"[S]\nK = \" a \"\n", u"S", u"K", u" a "},
        {"[S]\nK='a'\n", u"S", u"K", u"a"},
        {"[S]\nK=\"a'\n", u"S", u"K", u"\"a'"},
        {"[S]\nK=a ; b\n", u"S", u"K", u"a ; b"},
        {"[S]\n;K=1\n", u"S", u"K", u"default"},
        {"; [S]\nK=1\n", u"S", u"K", u"default"},
        {"K=1\n[S]\n", u"", u"K", u"default"},
        {"[\xC3\xA0]\n1=last", u"À", u"1", u"last"},
        // Encodings.
        {"[S]\nK=\xA7x\xA7 \x80", u"S", u"K", u"§x§ €"},
        {"[S]\nK=\xC2\xA7x\xC2\xA7", u"S", u"K", u"§x§"},
        {"[S]\nK=\xC3\xA0 \xE0", u"S", u"K", u"\u00C3\u00A0 à"}, // not valid throughout
        {"\xEF\xBB\xBF[S]\nK=a", u"S", u"K", u"a"},
        {"\xEF\xBB\xBF[S]\nK=\xE0", u"S", u"K", u"\uFFFD"},
        {"\xFF\xFE["s + "\0S\0]\0\n\0K\0=\0\xAC\x20\n"s, u"S", u"K", u"€"},
        {"\xFE\xFF\0["s + "\0S\0]\0\n\0K\0=\x20\xAC"s, u"S", u"K", u"€"},
    };
    for (const auto& [contents, section, key, value] : cases) {
        ini->SetFile(writtenTo(scratch, "s.ini", contents));
        EXPECT_EQ(readIni(section, key), value) << contents;
    }
}

TEST_F(StandIns, SettingsAreDefaultsOnlyWhereThereIsNoFile)
{
    EXPECT_EQ(readIni(u"S", u"K"), u"default"); // not bound
    writtenTo(scratch, "s.ini", "[S]\nK=1");
    for (const char* name : {"missing.ini", "missing/s.ini", "s.ini/s.ini"}) {
        ini->SetFile(scratch.file(name));
        EXPECT_EQ(readIni(u"S", u"K"), u"default") << name;
    }
    EXPECT_EQ(tools.ReadIni(u"S", u"K", std::int16_t{-1}, ini).get().vt, VT_I2);
    ini.reset();
    EXPECT_EQ(failureOf([&] { readIni(u"S", u"K"); }).number, 91);
}

// Otherwise a component would open with all defaults, and answer for the wrong copies.
TEST_F(StandIns, SettingsThatCannotBeReadFail)
{
    const auto file = scratch / "s.ini";
    const auto number = [&] { return failureOf([&] { readIni(u"S", u"K"); }).number; };
    ini->SetFile(scratch.file("s.ini"));
    ASSERT_EQ(::mkfifo(file.c_str(), 0600), 0);
    EXPECT_EQ(number(), 75);
    remove(file);
    create_directory(file);
    EXPECT_EQ(number(), 75);
    remove(file);

    write(file, "[S]\nK=1");
    permissions(file, std::filesystem::perms::none);
    const uid_t user = ::geteuid();
    permissions(scratch.path(), std::filesystem::perms::all);
    ASSERT_EQ(::seteuid(user == 0 ? 65534 : user), 0); // root may do everything
    EXPECT_EQ(number(), 70);
    ASSERT_EQ(::seteuid(user), 0);
    permissions(file, std::filesystem::perms::owner_all);
    rlimit limit{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
    const rlimit exhausted{0, limit.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &exhausted), 0);
    EXPECT_EQ(number(), 67);
    ::setrlimit(RLIMIT_NOFILE, &limit);
    EXPECT_EQ(readIni(u"S", u"K"), u"1") << "it failed for a moment";
}

// It has been read already, and would be taken for the answer to the next question.
TEST_F(StandIns, AFileThatCouldNotBeDeletedIsNotThereUntilItChanges)
{
    const auto directory = scratch / "exchange", file = directory / "answer";
    std::u16string path = file.u16string();
    create_directory(directory);
    write(file, "old\r\n");
    permissions(scratch.path(), std::filesystem::perms::all);
    permissions(directory, std::filesystem::perms(0555));
    const uid_t user = ::geteuid();
    const auto failToDelete = [&] { // nothing is forbidden to the system's administrator
        ASSERT_EQ(::seteuid(user == 0 ? 65534 : user), 0);
        EXPECT_TRUE(tools.FileExists(path));
        EXPECT_EQ(failureOf([&] { files::remove(path); }).number, 70);
        EXPECT_FALSE(tools.FileExists(path));
        EXPECT_FALSE(files::tryOpenForReading(1, path));
        ASSERT_EQ(::seteuid(user), 0);
    };
    failToDelete();
    write(file, "a new one\r\n");
    failToDelete();
    permissions(directory, std::filesystem::perms::all);
    EXPECT_FALSE(tools.FileExists(path));
    EXPECT_FALSE(exists(file)) << "it can be deleted by now";
}

// A counterpart that makes its file first and fills it later is waited for.
TEST_F(StandIns, AFileExistsWhenItIsFinished)
{
    using namespace std::chrono_literals;
    using std::chrono::nanoseconds;
    const std::tuple<const char*, std::string, nanoseconds, bool> cases[] = {
        // what, contents, its age, exists
        {"a line", "01\tA\r\nrest", 0ms, true},
        {"CR alone", "01\tA\r", 0ms, true},
        {"a long line", std::string(9000, 'x') + "\r\n", 0ms, true},
        {"begun just now", "01\tA", 0ms, false},
        {"LF alone ends no line", "01\tA\n", 0ms, false},
        {"made just now", "", 0ms, false},
        {"never ended", "01\tA", 150ms, true},
        {"never filled", "", 150ms, true},
        {"by a clock that is ahead", "01\tA", -1h, true},
        {"a line beyond all bounds", std::string(1100000, 'x'), 0ms, true},
    };
    std::u16string path = scratch.file("a.CL2");
    EXPECT_FALSE(tools.FileExists(path));
    for (const auto& [what, contents, age, exists] : cases) {
        write(scratch / "a.CL2", contents);
        last_write_time(scratch / "a.CL2", std::filesystem::file_time_type::clock::now() - age);
        EXPECT_EQ(tools.FileExists(path), exists) << what;
    }
    std::u16string directory = scratch.path().u16string();
    EXPECT_FALSE(tools.FileExists(directory));
}

TEST_F(StandIns, SettingsReflectTheFileAsItIsNow)
{
    ini->SetFile(scratch.file("s.ini"));
    EXPECT_EQ(readIni(u"S", u"K"), u"default");
    // Same size, and within one tick where the system stamps files coarsely (Linux before 6.13).
    for (int i = 100; i < 400; ++i) {
        writtenTo(scratch, "s.ini", "[S]\nK=" + std::to_string(i));
        ASSERT_EQ(readIni(u"S", u"K"), text::decimal(i));
    }
    // Now an old file whose contents are kept, replaced by one of the same size and time of modification.
    std::this_thread::sleep_for(std::chrono::milliseconds(80));
    ASSERT_EQ(readIni(u"S", u"K"), u"399");
    writtenTo(scratch, "new.ini", "[S]\nK=999");
    std::filesystem::last_write_time(scratch / "new.ini",
                                     std::filesystem::last_write_time(scratch / "s.ini"));
    std::filesystem::rename(scratch / "new.ini", scratch / "s.ini");
    EXPECT_EQ(readIni(u"S", u"K"), u"999");
    std::filesystem::remove(scratch / "s.ini");
    EXPECT_EQ(readIni(u"S", u"K"), u"default");
}

TEST_F(StandIns, PlaceholderValuesComeFromTheEnvironment)
{
    const std::tuple<std::string, const char*, const char16_t*> cases[] = {
        // name, value, resolved
        {"VQ_PLAIN", "db1", u"db1"},
        {"VQ_EMPTY", "", u""},
        {"VQ_LATIN", "citt\xE0", u"citt\u00E0"},
        {"VQ_LONE", "a§", u"a§"},
        {"VQ_NESTED", "<§VQ_PLAIN§,§VQ_EMPTY§,§VQ_PLAIN§>", u"<db1,,db1>"},
        {"VQ_DEEP", "§VQ_NESTED§§VQ_LONE§", u"<db1,,db1>a§"},
        {"VQ_CYCLE", "§VQ_BACK§", u"unresolved"},
        {"VQ_BACK", "§VQ_CYCLE§", u"unresolved"},
        {"VQ_TO_NOWHERE", "secret§VQ_UNSET§", u"unresolved"},
        {"VQ_MEETING", "§VQ_LONE§x§", u"unresolved"}, // would give a placeholder
        {"VQ_EQUALS", "B=1", u"B=1"},
        {"VQ_EQUALS=B", nullptr, u"unresolved"},
        {"VQ_UNSET", nullptr, u"unresolved"},
        {"", nullptr, u"unresolved"},
    };
    for (const auto& [name, value, resolved] : cases)
        if (value)
            ::setenv(name.c_str(), value, 1);
    for (const auto& [name, value, resolved] : cases)
        EXPECT_EQ(resolve(text::fromUtf8(name)), resolved) << name;

    resolve(u"VQ_TO_NOWHERE");
    EXPECT_EQ(record().find("secret"), std::string::npos);
    // A handler adds where it happened.
    store({.Source = u"VQLoan.SvrODBC.OpenDatabase, 0"}, 4);
    EXPECT_TRUE(record().starts_with("-2147220991|The placeholder §VQ_TO_NOWHERE§ cannot")) << record();
    EXPECT_TRUE(record().ends_with("|VQLoan.SvrODBC.OpenDatabase, 0")) << record();
}

TEST_F(StandIns, TheRecordHoldsTheDetailsOfTheLastOne)
{
    EXPECT_EQ(record(), "0||");
    Variant helpContext, missing = Variant::missing();
    tools.GetError(nullptr, missing.address(), nullptr, nullptr, helpContext.address(), nullptr);
    EXPECT_EQ(helpContext.get().vt, VT_BSTR);
    EXPECT_EQ(helpContext.toText(), u"0");
    EXPECT_TRUE(missing.isMissing());

    store({.Number = std::int32_t{13}, .Source = u"S", .Description = u"D"}, 0);
    store({.Source = u"T"}, 8);
    EXPECT_EQ(record(), "13|D|T");
    std::int32_t zero = 0;
    EXPECT_EQ(tools.ErrorText(Variant::missing(), zero), u"D");
    store({.Source = u"T"}, 0);
    EXPECT_EQ(record(), "0||T");
}

TEST_F(StandIns, DirectoriesAndMarkers)
{
    const std::pair<const char16_t*, const char16_t*> directories[] = {
        {u"/srv/x", u"/srv/x/"}, {u"/srv/x///", u"/srv/x/"}, {u"", u"./"}, {u"/", u"/"}, {u"//", u"/"},
        {u"a", u"a/"},
    };
    for (const auto& [given, expected] : directories) {
        std::u16string directory = given;
        EXPECT_EQ(tools.DirSlash(directory), expected);
        EXPECT_EQ(directory, given);
    }
    std::u16string text = u"\u00A7a\u00A7\u00A7b\u00A7", marker = u"\u00A7", nothing;
    tools.StripChar(text, nothing);
    tools.StripChar(text, marker);
    EXPECT_EQ(text, u"ab");
}

} // namespace
} // namespace vqloan::test
