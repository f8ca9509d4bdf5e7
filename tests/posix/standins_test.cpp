#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>
#include <tuple>
#include <utility>

#include <gtest/gtest.h>

#include "ScratchDirectory.h"
#include "platform/runtime/RuntimeError.h"
#include "platform/runtime/Text.h"
#include "platform/standins/IniFile.h"
#include "platform/standins/SysTools.h"

namespace vqloan {
namespace {

using test::ScratchDirectory;
using test::writtenTo;

class Stands : public ::testing::Test
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

using Settings = Stands;
using PlaceholderValues = Stands;
using FailureRecord = Stands;
using Helpers = Stands;

TEST_F(Settings, FollowProfileFileConventions)
{
    ini->SetFile(writtenTo(scratch, "s.ini",
                           "OUTSIDE=1\r\n"
                           "; [SERVER]\n"
                           " \t[ Server ] trailing\r\n"
                           ";COMMENT=1\r\n"
                           "Connect = Data Source=x;Mode=r \t\r\n"
                           "CONNECT=second\n"
                           "EMPTY=\rBLANK= \t \n"
                           "NOEQUALS\n"
                           "QUOTED = \" a \"\n"
                           "SINGLE='a'\n"
                           "UNEVEN=\"a'\n"
                           "NOTE=a ; b\n"
                           "=nameless\n"
                           "[OTHER\n"
                           "CONNECT=other\n"
                           "[SERVER]\n"
                           "LATE=1\n"
                           "[\u00E0]\n1=last"));
    const std::tuple<const char16_t*, const char16_t*, const char16_t*> cases[] = {
        {u"SERVER", u"CONNECT", u"Data Source=x;Mode=r"},
        {u"server ", u" connect", u"Data Source=x;Mode=r"},
        {u"SERVER", u"EMPTY", u""},
        {u"SERVER", u"NOEQUALS", u"default"},
        {u"SERVER", u"QUOTED", u" a "},
        {u"SERVER", u"SINGLE", u"a"},
        {u"SERVER", u"UNEVEN", u"\"a'"},
        {u"SERVER", u"NOTE", u"a ; b"},
        {u"SERVER", u"COMMENT", u"default"},
        {u"SERVER", u"LATE", u"default"}, // only the first section of a name counts
        {u"OTHER", u"CONNECT", u"other"}, // a header without its bracket still ends the section before it
        {u"NONE", u"CONNECT", u"default"},
        {u"", u"OUTSIDE", u"default"},
        {u"\u00C0", u"1", u"last"},
    };
    for (const auto& [section, key, value] : cases)
        EXPECT_EQ(readIni(section, key), value) << text::toUtf8(section) << " " << text::toUtf8(key);
}

TEST_F(Settings, AreReadInTheirEncoding)
{
    const std::pair<std::string, const char16_t*> cases[] = {
        {"[S]\nK=\xA7"
         "A\xA7 \x80",
         u"\u00A7A\u00A7 \u20AC"},
        {"[S]\nK=\xC2\xA7"
         "A\xC2\xA7",
         u"\u00A7A\u00A7"},
        {"[S]\nK=\xC3\xA0 \xE0", u"\u00C3\u00A0 \u00E0"}, // not valid throughout
        {"\xEF\xBB\xBF[S]\nK=a", u"a"},
        {"\xEF\xBB\xBF[S]\nK=\xE0", u"\uFFFD"},
    };
    for (const auto& [bytes, value] : cases) {
        ini->SetFile(writtenTo(scratch, "s.ini", bytes));
        EXPECT_EQ(readIni(u"S", u"K"), value);
    }
}

TEST_F(Settings, AreDefaultsWhereNothingCanBeRead)
{
    EXPECT_EQ(readIni(u"S", u"K"), u"default"); // not bound
    for (const char* name : {"missing.ini", ""}) {
        ini->SetFile(scratch.file(name)); // the second is a directory
        EXPECT_EQ(readIni(u"S", u"K"), u"default") << name;
    }
    EXPECT_EQ(tools.ReadIni(u"S", u"K", std::int16_t{-1}, ini).get().vt, VT_I2);
    ini.reset();
    try {
        readIni(u"S", u"K");
        FAIL();
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.number, 91);
    }
}

TEST_F(Settings, ReflectTheFileAsItIsNow)
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

TEST_F(PlaceholderValues, ComeFromTheEnvironment)
{
    const std::pair<const char*, const char*> environment[] = {
        {"VQ_PLAIN", "db1"},
        {"VQ_EMPTY", ""},
        {"VQ_LATIN", "citt\xE0"},
        {"VQ_LONE", "a\u00A7"},
        {"VQ_NESTED", "<\u00A7VQ_PLAIN\u00A7,\u00A7VQ_EMPTY\u00A7,\u00A7VQ_PLAIN\u00A7>"},
        {"VQ_DEEP", "\u00A7VQ_NESTED\u00A7\u00A7VQ_LONE\u00A7"},
        {"VQ_CYCLE", "\u00A7VQ_BACK\u00A7"},
        {"VQ_BACK", "\u00A7VQ_CYCLE\u00A7"},
        {"VQ_TO_NOWHERE", "secret\u00A7VQ_UNSET\u00A7"},
        {"VQ_MEETING", "\u00A7VQ_LONE\u00A7x\u00A7"},
        {"VQ_EQUALS", "B=1"},
    };
    for (const auto& [name, value] : environment)
        ::setenv(name, value, 1);
    const std::pair<const char16_t*, const char16_t*> cases[] = {
        {u"VQ_PLAIN", u"db1"},
        {u"VQ_EMPTY", u""},
        {u"VQ_LATIN", u"citt\u00E0"},
        {u"VQ_LONE", u"a\u00A7"},
        {u"VQ_NESTED", u"<db1,,db1>"},
        {u"VQ_DEEP", u"<db1,,db1>a\u00A7"},
        {u"VQ_CYCLE", u"unresolved"},
        {u"VQ_TO_NOWHERE", u"unresolved"},
        {u"VQ_MEETING", u"unresolved"}, // would give a placeholder
        {u"VQ_EQUALS=B", u"unresolved"},
        {u"VQ_UNSET", u"unresolved"},
        {u"", u"unresolved"},
    };
    for (const auto& [name, value] : cases)
        EXPECT_EQ(resolve(name), value) << text::toUtf8(name);

    resolve(u"VQ_TO_NOWHERE");
    EXPECT_TRUE(record().starts_with("-2147220991|The placeholder \u00A7VQ_TO_NOWHERE\u00A7 cannot"))
        << record();
    EXPECT_EQ(record().find("secret"), std::string::npos);
    // A handler adds where it happened.
    store({.Source = u"VQLoan.SvrODBC.OpenDatabase, 0"}, 4);
    EXPECT_TRUE(record().starts_with("-2147220991|The placeholder \u00A7VQ_TO_NOWHERE\u00A7 cannot"))
        << record();
    EXPECT_TRUE(record().ends_with("|VQLoan.SvrODBC.OpenDatabase, 0")) << record();
}

TEST_F(PlaceholderValues, AreMaskedInWhatIsRecorded)
{
    ::setenv("VQ_USER", "pat", 1);
    ::setenv("VQ_PASSWORD", "pattern*", 1);
    resolve(u"VQ_USER");
    resolve(u"VQ_PASSWORD");
    store({.Number = std::int32_t{1}, .Description = u"user pat, password pattern*; *"}, 0);
    EXPECT_EQ(record(), "1|user ***, password ***; *|");
}

TEST_F(FailureRecord, HoldsTheDetailsOfTheLastOne)
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

TEST_F(Helpers, DirectoriesAndMarkers)
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
} // namespace vqloan
