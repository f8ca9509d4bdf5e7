#include <cmath>
#include <exception>
#include <new>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "FailureOf.h"
#include "ScratchDirectory.h"
#include "platform/runtime/Numbers.h"
#include "platform/runtime/Text.h"
#include "platform/runtime/TextFiles.h"

namespace vqloan::test {
namespace {

TEST(Numbers, TheLeadingNumberIsTakenAndRounded)
{
    // clang-format off
    const std::tuple<const char16_t*, double, int> cases[] = {
        {u"", 0, 0}, {u"x", 0, 0}, {u"&", 0, 0}, {u"&12", 0, 0}, {u"1,5", 1, 1},
        {u" 1 2", 12, 12}, {u"\t-\n3 . 5x", -3.5, -4}, {u"- 1 e 1", -10, -10}, {u"& O 17 8", 15, 15},
        {u"2.5", 2.5, 2}, {u"3.5", 3.5, 4}, {u"-0.5", -0.5, 0}, {u".5.5", .5, 0},
        {u"1D+2", 100, 100}, {u"1E-", 1, 1}, {u"25E-1E", 2.5, 2}, {u"1E-999", 0, 0}, {u"0E999", 0, 0},
        {u"&HfF", 255, 255}, {u"&HFFFF", -1, -1}, {u"&HFFFFFFFF", -1, -1}, {u"-32768.5", -32768.5, -32768},
    };
    // clang-format on
    for (const auto& [text, number, integer] : cases) {
        EXPECT_DOUBLE_EQ(numbers::leadingNumber(text), number) << text::toUtf8(text);
        EXPECT_EQ(numbers::toInteger(number), integer) << number;
    }
    for (const char16_t* text :
         {u"1E999", u"-1E309", u"&H100000000", u"1E99999999999999999999", u"10E2147483647"})
        EXPECT_EQ(failureOf([&] { numbers::leadingNumber(text); }).number, 6) << text::toUtf8(text);
    for (const double number : {32767.5, -32768.6, std::nan("")})
        EXPECT_EQ(failureOf([&] { numbers::toInteger(number); }).number, 6) << number;
    EXPECT_EQ(failureOf([] { numbers::toSingle(3.5e38); }).number, 6);
    EXPECT_EQ(failureOf([] { ++Int16(32767); }).number, 6);
}

TEST(Text, IsUpperCasedCharacterByCharacter)
{
    const std::pair<const char16_t*, const char16_t*> cases[] = {
        {u"CodBib=\u00E0\u00FF", u"CODBIB=\u00C0\u0178"},
        {u"stra\u00DFe", u"STRA\u00DFE"}, // never longer
        {u"\u0131\u017F\u00B5\u01C6", u"IS\u039C\u01C4"},
        {u"\u0101\u0102\u0373\uFF41", u"\u0100\u0102\u0372\uFF21"},
        {u"\U00010428\U0001E943", u"\U00010400\U0001E921"},
        {u"a\xDC28\xD801z", u"A\xDC28\xD801Z"}, // halves alone
    };
    for (const auto& [text, upper] : cases) {
        EXPECT_EQ(text::upper(text), upper);
        EXPECT_TRUE(text::equalsIgnoringCase(text, upper));
    }
    EXPECT_FALSE(text::equalsIgnoringCase(u"ab", u"abc"));
    EXPECT_FALSE(text::equalsIgnoringCase(u"\U00010428", u"\U00010401"));
}

TEST(Text, EveryByteOfTheCodePageComesBack)
{
    std::string all(256, '\0');
    for (std::size_t i = 0; i < all.size(); ++i)
        all[i] = static_cast<char>(i);
    EXPECT_EQ(text::toCodePage(text::fromCodePage(all)), all);
    EXPECT_EQ(text::fromCodePage("\x80\x81\x9F\xA7"), u"\u20AC\u0081\u0178\u00A7");
    EXPECT_EQ(text::toCodePage(u"\u0080\u0416\U0001F600\xD800x"), "????x");
}

TEST(Text, Utf8BothWays)
{
    const std::u16string good = u"a\u00E0\u20AC\U0001F600\U0010FFFF";
    EXPECT_EQ(text::toUtf8(good), "a\xC3\xA0\xE2\x82\xAC\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF");
    EXPECT_EQ(text::fromUtf8(text::toUtf8(good)), good);
    EXPECT_TRUE(text::isUtf8(text::toUtf8(good)));
    const std::pair<const char*, const char16_t*> illFormed[] = {
        {"\xC0\xAF", u"\uFFFD\uFFFD"},               // longer than need be
        {"\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD"},     // a surrogate
        {"\xF4\x90z", u"\uFFFD\uFFFDz"},             // beyond the last character
        {"\xE2\x82z\xF0\x9F\x98", u"\uFFFDz\uFFFD"}, // cut off
    };
    for (const auto& [bytes, text] : illFormed) {
        EXPECT_EQ(text::fromUtf8(bytes), text);
        EXPECT_FALSE(text::isUtf8(bytes));
    }
    EXPECT_EQ(text::toUtf8(u"\xDE00\xD83D"), "\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST(Pending, HoldsTheThreadsFailureUntilItIsTaken)
{
    pending::set(std::make_exception_ptr(std::bad_alloc()));
    EXPECT_EQ(pending::take().number, 7);
    pending::set(std::make_exception_ptr(42));
    std::thread([] { EXPECT_EQ(pending::take().number, 0); }).join();
    EXPECT_EQ(pending::take().number, 51);
    EXPECT_EQ(pending::take().number, 0);
}

TEST(TextFiles, ReadLinesUpToCr)
{
    // clang-format off
    const std::tuple<const char*, std::string, std::vector<std::u16string>> cases[] = {
        {"empty", "", {}}, {"CR LF", "a\r\nb\r\n", {u"a", u"b"}}, {"no end", "a\r\nb", {u"a", u"b"}},
        {"CR alone", "a\rb\r", {u"a", u"b"}},
        {"LF alone belongs to the line", "a\nb\r\nc\n", {u"a\nb", u"c\n"}},
        {"empty lines", "\r\n\r\r\n", {u"", u"", u""}},
        {"code page and 0", std::string("\x80\0\r\n", 4), {std::u16string(u"\u20AC\0", 2)}},
        {"longer than a read", std::string(20000, 'x') + "\r\nb\r\n", {std::u16string(20000, u'x'), u"b"}},
        {"CR LF across two reads", std::string(8191, 'x') + "\r\nb", {std::u16string(8191, u'x'), u"b"}},
    };
    // clang-format on
    const ScratchDirectory scratch;
    for (const auto& [name, contents, expected] : cases) {
        SCOPED_TRACE(name);
        files::openForReading(3, writtenTo(scratch, "f", contents));
        std::vector<std::u16string> lines;
        while (!files::atEnd(3))
            lines.emplace_back(files::readLine(3));
        EXPECT_EQ(lines, expected);
        EXPECT_EQ(failureOf([] { files::readLine(3); }).number, 62);
        files::close(3);
    }
}

TEST(TextFiles, NumbersBelongToTheThread)
{
    const ScratchDirectory scratch;
    const std::u16string path = writtenTo(scratch, "f", "x");
    for (std::int32_t number = 1; number <= 511; ++number) {
        ASSERT_EQ(files::freeNumber(), number);
        files::openForReading(number, path);
    }
    EXPECT_EQ(failureOf([] { files::freeNumber(); }).number, 67);
    std::thread([] { EXPECT_EQ(files::freeNumber(), 1); }).join();
    files::close(17);
    EXPECT_EQ(files::freeNumber(), 17);
    files::closeAll();
    EXPECT_EQ(files::freeNumber(), 1);
}

} // namespace
} // namespace vqloan::test
