// Taking requests apart and putting answers together: limits, groups, fields.
#include <gtest/gtest.h>

#include <random>
#include <tuple>

#include "Site.h"
#include "availability/OtherGroup.h"
#include "component/DispSvr.h"

namespace vqloan::test {
namespace {

TEST(Answer, ItemsAndGroups)
{
    Site site;
    const auto exchange = site.directory / "exchange";
    std::filesystem::create_directory(exchange);
    site.settings("[CONFIG]\nPATH=" + exchange.string() + "\n[CLIENT]\nTIMEOUT=0\n");
    Client desk = site.client();
    EXPECT_EQ(desk.ask(""), "");
    EXPECT_EQ(desk.failure().number, 0);
    EXPECT_EQ(desk.ask("01|A|1\n\n02\n"), "||\n||\n||\n")
        << "no back end; an empty line is a line, the end of the last is none";
    ASSERT_FALSE(desk.open("SQL"));
    // Nobody answers: the code comes back with an empty message and a blank.
    EXPECT_EQ(desk.ask(" 01 | A 1 | x9 | "), "Coll. A 1, Inv. X9,  |01|Coll. A 1, Inv. X9,   ||\n");
    EXPECT_EQ(desk.ask("01|||only a note|5|6"), "only a note|01|only a note ||\n");
    desk.ownLibrary("ab ");
    EXPECT_EQ(desk.ask("AB||P\n01||X\nAb||Q\n02||Y"),
              "Inv. Q|Ab|Inv. Q ||\nInv. P|AB|Inv. P ||\nInv. X|01|Inv. X ||\nInv. Y|02|Inv. Y ||\n");
}

TEST(Answer, LineCounter)
{
    Site site;
    Client desk = site.client();
    std::string lines;
    for (int i = 0; i < 32766; ++i)
        lines += "x\r\n";
    EXPECT_EQ(desk.raw(lines).size(), 32766u * 4);
    EXPECT_EQ(desk.raw(lines + "x\r\n"), u"");
    EXPECT_EQ(desk.failure().number, 6);
    EXPECT_EQ(desk.failure().source, "SvrODBC.VisNre");
    EXPECT_EQ(desk.raw(std::string(32764, 'x') + "\r\n"), u"\t\t\r\n")
        << "what follows the line's end is at the last position";
    EXPECT_EQ(desk.raw(std::string(32765, 'x') + "\r\n"), u"");
}

TEST(Fields, GetField)
{
    // clang-format off
    const std::tuple<const char16_t*, const char16_t*, int, bool, const char16_t*, const char16_t*> cases[] =
        {
        // text, separator, number, whether to cut; field, rest
        {u"", u"\t", 1, true, u"", u""}, {u"A\t\tB", u"\t", 2, false, u"", u"A\t\tB"},
        {u"A\t\tB", u"\t", 3, true, u"B", u""}, {u"A\t\tB", u"\t", 4, true, u"", u"A\t\tB"},
        {u"A\tB\t", u"\t", 3, true, u"", u"A\tB\t"}, {u" A  B", u" ", 1, true, u"", u"A  B"},
        {u" A  B", u" ", 2, true, u"A", u"B"}, {u" A  B", u" ", 3, true, u"B", u""},
        {u"L1\r\nL2\r\n", u"\r\n", 0, false, u"L1", u"L2\r\n"}, {u"L2\r\n", u"\r\n", 0, false, u"L2", u""},
        {u"\r\n\r\nX", u"\r\n", 0, false, u"", u"\r\nX"}, {u"A,B,C,D", u",", 3, true, u"C", u"D"},
        {u"A,B", u",", -1, true, u"", u"A,B"},
    };
    // clang-format on
    for (const auto& [given, separator, wanted, cut, field, rest] : cases) {
        SCOPED_TRACE(text::toUtf8(given) + " " + std::to_string(wanted));
        std::u16string_view text = given;
        Int16 number = wanted;
        EXPECT_EQ(DispSvr::GetField(text, separator, number, cut), field);
        EXPECT_EQ(text, rest);
        EXPECT_EQ(number, wanted == 0 ? 1 : wanted);
    }
}

TEST(Fields, PositionsAre16Bit)
{
    const auto field = [](const std::u16string& text, int number) {
        std::u16string_view view = text;
        Int16 wanted = number;
        return DispSvr::GetField(view, u"\r\n", wanted, true).size();
    };
    const auto x = [](std::size_t count) { return std::u16string(count, u'x'); };
    EXPECT_EQ(field(x(32766), 1), 32766u);
    EXPECT_EQ(field(x(32764) + u"\r\n" + x(90000), 1), 32764u) << "what follows may be long";
    EXPECT_THROW(field(x(32767), 1), RuntimeError) << "the end stands behind the last position";
    EXPECT_THROW(field(x(32765) + u"\r\n", 1), RuntimeError) << "to be cut behind the separator";
    EXPECT_THROW(field(x(32765) + u"\r\n" + x(9), 3), RuntimeError) << "a search that runs off";

    CodeTable table(32768, u"9\tno");
    table[32767] = u"10\tlast";
    EXPECT_EQ(DispSvr::Find_Messa(u"10", table), u"last");
    EXPECT_EQ(DispSvr::Find_Messa(u"", {}), u"") << "no load has filled it";
    EXPECT_EQ(DispSvr::Find_Messa(u"09", table), u"") << "codes are texts";
    table.push_back(u"");
    EXPECT_THROW(DispSvr::Find_Messa(u"9", table), RuntimeError);
}

// The group as one text, in which lines are found and inserted by positions of 16 bits, from 1.
struct GroupAsText
{
    std::u16string text;

    static std::size_t checked(std::size_t position)
    {
        return position <= 32767 ? position : throw RuntimeError(Failure::Overflow);
    }
    std::size_t endOfLine(std::size_t start) const { return checked(text.find(u"\r\n", start - 1) + 1); }
    std::size_t startOfLine(int k) const
    {
        std::size_t start = 1;
        for (; k > 1 && start <= text.size(); --k)
            start = checked(endOfLine(start) + 2);
        return start;
    }
    std::u16string firstField(int k) const
    {
        const std::size_t start = startOfLine(k);
        if (start > text.size())
            return {}; // there is no such line
        const std::u16string line = text.substr(start - 1, endOfLine(start) - start);
        return line.substr(0, line.find(u'\t'));
    }
    void place(const std::u16string& key, const std::u16string& line, int n)
    {
        int k = 1;
        while (k < n && key >= firstField(k))
            ++k;
        text.insert(k == n ? text.size() : startOfLine(k) - 1, line + u"\r\n");
    }
};

// A group, and the text that it stands for.
class OtherGroups : public testing::Test
{
protected:
    // Gives the failure of both.
    std::int32_t place(const std::u16string& key, const std::u16string& line, int n)
    {
        const std::int32_t expected = failureOf([&] { reference.place(key, line, n); }).number;
        EXPECT_EQ(failureOf([&] { group.insert(group.search(key, n), line); }).number, expected) << n;
        return expected;
    }
    void expectSameText()
    {
        std::u16string text;
        group.appendTo(text);
        ASSERT_TRUE(text == reference.text); // too long to be shown
        ASSERT_EQ(group.size(), text.size());
        group = {};
        reference = {};
    }

    OtherGroup group;
    GroupAsText reference;
};

TEST_F(OtherGroups, PlaceAndFailAsTheTextWould)
{
    std::mt19937 random(20);
    int overflows = 0;
    for (unsigned round = 0; round < 10; ++round) {
        const std::size_t longest = 500 + random() % 3000;
        // An own-library line counts, but goes elsewhere.
        for (int n = 1; n < 150; n += random() % 10 ? 1 : 2) {
            const std::u16string key(1, static_cast<char16_t>(u'A' + random() % (1 + round % 7)));
            // A failed line keeps its place, but begins with another field.
            const bool failed = round % 2 == 1 && random() % 20 == 0;
            std::u16string line = failed ? u"Codice Bibl. " : u"";
            line.append(key).append(u"\t").append(random() % longest, u'.');
            overflows += place(key, line, n) == 6;
        }
        expectSameText();
    }
    EXPECT_GT(overflows, 50);
}

TEST_F(OtherGroups, FailAtTheSamePosition)
{
    int overflows = 0;
    for (const char16_t* second : {u"B", u"A"}) // the latter out of order, as a failed line may stand
        for (const char16_t* key : {u"B", u"AB"})
            for (std::size_t size = 32755; size < 32775; ++size)
                for (int n = 3; n < 6; ++n) {
                    const std::u16string first = u"B\tx";
                    place(u"B", first, 1);
                    place(u"B", second + std::u16string(size - first.size() - 4 - 1, u'\t'), 2);
                    overflows += place(key, std::u16string(key) + u"\ty", n) == 6;
                    overflows += place(u"B", u"B\tz", n + 1) == 6;
                    expectSameText();
                }
    EXPECT_GT(overflows, 100);
}

} // namespace
} // namespace vqloan::test
