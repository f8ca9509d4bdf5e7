// The documents and the sample site against what the component takes from src/site.
#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "ScratchDirectory.h"
#include "platform/runtime/Text.h"
#include "site/Database.h"
#include "site/Exchange.h"
#include "site/HostFile.h"
#include "site/Messages.h"
#include "site/Settings.h"
#include "site/Texts.h"

namespace vqloan::test {
namespace {

const std::string guide = read(SOURCE_DIRECTORY "/docs/administration.md");

// A part of the text, up to the next one of its kind.
std::string part(const std::string& text, const std::string& begins, const std::string& ends)
{
    const auto start = text.find(begins);
    EXPECT_NE(start, text.npos) << begins;
    return text.substr(start, text.find(ends, start + begins.size()) - start);
}

std::ptrdiff_t count(const std::string& text, const std::string& expression)
{
    const std::regex regex(expression);
    return std::distance(std::sregex_iterator(text.begin(), text.end(), regex), {});
}

// What must stand there once, and what all of its kind look like, so that there is no other.
void expectEach(const std::string& text, const std::vector<std::string>& each, const std::string& kind)
{
    for (const std::string& one : each)
        EXPECT_EQ(count(text, one), 1) << one;
    EXPECT_EQ(count(text, kind), std::ssize(each)) << kind;
}

TEST(Documents, HaveEverySetting)
{
    const std::string sample = read(SOURCE_DIRECTORY "/examples/site/SvrDisp.ini");
    std::vector<std::string> rows;
    for (const site::Setting& setting : site::settings) {
        const std::string section = text::toUtf8(setting.section), key = text::toUtf8(setting.key),
                          byDefault = text::toUtf8(setting.byDefault);
        rows.push_back("\n\\| " + section + " \\| " + key + " \\| " + byDefault + " ?\\| ");
        EXPECT_EQ(count(part(sample, "\n[" + section + "]", "\n["),
                        std::string("Default: ").append(byDefault.empty() ? "empty" : byDefault) +
                            "[.,](?:(?!Default:)[^])*\n;?" + key + "="),
                  1)
            << section << " " << key;
    }
    EXPECT_EQ(count(sample, "\n;?[A-Z]+="), std::ssize(site::settings));
    expectEach(part(guide, "\n## SvrDisp.ini\n", "\n## "), rows, "\n\\| [A-Z]+ \\| [A-Z]+ \\|");
}

TEST(Documents, TheManualPageHasEverySettingAndMessage)
{
    const std::string page =
        part(read(SOURCE_DIRECTORY "/client/vqloan.5"), "\n.SH SvrDisp.ini", "\n.SS Placeholders");
    for (const site::Setting& setting : site::settings) {
        const std::string byDefault = text::toUtf8(setting.byDefault);
        EXPECT_EQ(count(part(page, "\n.SS [" + text::toUtf8(setting.section) + "]", "\n.SS"),
                        "\n\\.B " + text::toUtf8(setting.key) + "\n(?:(?!Default:)[^])*Default: \\\\?" +
                            (byDefault.empty() ? "empty" : byDefault) + "[.,]"),
                  1)
            << text::toUtf8(setting.key);
    }
    EXPECT_EQ(count(page, "\n\\.B [A-Z]+\n"), std::ssize(site::settings));
    for (const site::MessageRow& row : site::messages)
        EXPECT_EQ(count(page, "\n\\.IP " + text::toUtf8(row.code) + "\n"), 1);
    EXPECT_EQ(count(page, "\n\\.IP "), std::ssize(site::messages));
}

TEST(Documents, HaveEveryMessage)
{
    std::vector<std::string> rows, keys;
    for (const site::MessageRow& message : site::messages) {
        EXPECT_EQ(message.code, text::decimal(std::ssize(rows) + 1));
        const std::string code = text::toUtf8(message.code);
        rows.push_back("\n\\| " + code + " \\| ");
        keys.push_back("\n" + code + "=");
    }
    expectEach(part(guide, "\n## Messages, and what they mean to a reader\n", "\n## "), rows,
               "\n\\| \\d+ \\|");
    expectEach(read(SOURCE_DIRECTORY "/examples/site/SvrDisp.ini"), keys, "\n\\d+=");
}

TEST(Documents, HaveEveryParameterLine)
{
    std::vector<std::string> rows;
    for (int number = 1; const site::ParameterLine& line : site::parameterLines) {
        if (!line.meaning.starts_with(u"(not used"))
            rows.push_back(std::string("\n\\| ").append(std::to_string(number)).append(" \\| "));
        ++number;
    }
    expectEach(part(guide, "\n## CLIENT.PAR\n", "\n## "), rows, "\n\\| \\d+ \\|");
    const std::string sample = read(SOURCE_DIRECTORY "/examples/site/CLIENT.PAR");
    const auto libraries = count(sample, "\ncodbib=..,..,[^\r]");
    EXPECT_EQ(count(sample, "\r\n"), std::ssize(site::parameterLines) + libraries);
    EXPECT_LE(libraries, std::ptrdiff_t{site::mostLibraries});
}

TEST(Documents, TheSampleSchemaHasWhatIsRead)
{
    const std::string schema = read(SOURCE_DIRECTORY "/examples/site/schema.sql");
    const std::regex word("\\w+");
    EXPECT_EQ(count(schema, "CREATE TABLE"), std::ssize(site::tables));
    for (const site::Table& table : site::tables) {
        const std::string columns = text::toUtf8(table.columns);
        std::vector<std::string> each;
        for (std::sregex_iterator name(columns.begin(), columns.end(), word), end; name != end; ++name)
            each.push_back(std::string("\n +").append(name->str()).append(" "));
        expectEach(
            part(schema, std::string("CREATE TABLE ").append(text::toUtf8(table.name)).append(" "), ");"),
            each, "\n +[A-Z]");
    }
}

TEST(Documents, NameTheFilesAndTextsOfAnswers)
{
    const std::u16string host = std::u16string(site::hostPrefix) + site::hostClient(u"7");
    for (const std::u16string_view text : std::initializer_list<std::u16string>{
             site::gatewayFile(7, site::requestExtension), site::gatewayFile(7, site::answerExtension),
             host + std::u16string(site::requestExtension), host + std::u16string(site::answerExtension),
             std::u16string(site::gatewayFailed), std::u16string(text::trim(site::databaseFailed)),
             std::u16string(site::settingsFile), std::u16string(site::hostFile),
             std::u16string(u"`").append(site::libraryKey)})
        EXPECT_NE(guide.find(text::toUtf8(text)), guide.npos) << text::toUtf8(text);
}

} // namespace
} // namespace vqloan::test
