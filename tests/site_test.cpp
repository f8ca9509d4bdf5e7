// The documents and the sample site against what the component takes from src/site.
#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "platform/runtime/Text.h"
#include "site/Database.h"
#include "site/Exchange.h"
#include "site/HostFile.h"
#include "site/Messages.h"
#include "site/Settings.h"
#include "site/Texts.h"

namespace vqloan::test {
namespace {

using Texts = std::set<std::string>;

std::string contents(const std::string& file)
{
    std::ifstream in(SOURCE_DIRECTORY "/" + file, std::ios::binary);
    EXPECT_TRUE(in) << file;
    return {std::istreambuf_iterator<char>(in), {}};
}

std::vector<std::smatch> matches(const std::string& text, const char* expression)
{
    const std::regex regex(expression);
    return {std::sregex_iterator(text.begin(), text.end(), regex), {}};
}

// The rows of the tables under a heading, each as its cells.
std::vector<std::vector<std::string>> tableUnder(const std::string& heading)
{
    const std::string guide = contents("docs/administration.md");
    const auto start = guide.find("\n## " + heading + "\n");
    EXPECT_NE(start, guide.npos) << heading;
    const std::string section = guide.substr(start, guide.find("\n## ", start + 1) - start);
    std::vector<std::vector<std::string>> rows;
    for (const auto& row : matches(section, "\n\\|([^\n]*)\\|(?=\n)")) {
        const std::string inside = row[1];
        auto& cells = rows.emplace_back();
        for (const auto& cell : matches(inside, " *([^|]*?) *(\\||$)"))
            cells.push_back(cell[1]);
    }
    return rows;
}

// "SECTION KEY=default".
std::string described(const std::string& section, const std::string& key, const std::string& byDefault)
{
    return section + " " + key + "=" + byDefault;
}

Texts settingsInForce()
{
    Texts all;
    for (const site::Setting& setting : site::settings)
        all.insert(described(text::toUtf8(setting.section), text::toUtf8(setting.key),
                             text::toUtf8(setting.byDefault)));
    return all;
}

Texts messageCodes()
{
    Texts all;
    for (const site::MessageRow& row : site::messages)
        all.insert(text::toUtf8(row.code));
    return all;
}

TEST(Documents, ListEverySetting)
{
    Texts listed;
    const std::regex comma(", ");
    for (const auto& cells : tableUnder("SvrDisp.ini"))
        if (cells[0] != "section" && cells[0] != "---" && cells[1] != "1, 2, ...")
            for (std::sregex_token_iterator key(cells[1].begin(), cells[1].end(), comma, -1), end; key != end;
                 ++key)
                listed.insert(described(cells[0], *key, cells[2]));
    EXPECT_EQ(listed, settingsInForce());
}

TEST(Documents, TheSampleSettingsHaveEverySettingAndMessage)
{
    Texts listed, messages;
    std::string section, byDefault;
    const std::regex header("\\[(\\w+)\\]"), tells("Default: (\\S+?)[.,](?=\\s|$)"), key("^;?(\\w+)=");
    std::istringstream lines(contents("examples/site/SvrDisp.ini"));
    for (std::string line; std::getline(lines, line);) {
        std::smatch found;
        if (std::regex_match(line, found, header))
            section = found[1];
        else if (std::regex_search(line, found, tells))
            byDefault = found[1] == "empty" ? "" : found[1].str();
        else if (std::regex_search(line, found, key) && std::isdigit(line[0]))
            messages.insert(found[1]);
        else if (std::regex_search(line, found, key))
            listed.insert(described(section, found[1], byDefault));
    }
    EXPECT_EQ(listed, settingsInForce());
    EXPECT_EQ(messages, messageCodes());
}

TEST(Documents, ListEveryMessage)
{
    Texts listed;
    for (const auto& cells : tableUnder("Messages, and what they mean to a reader"))
        if (std::isdigit(static_cast<unsigned char>(cells[0][0])))
            listed.insert(cells[0]);
    EXPECT_EQ(listed, messageCodes());
    for (std::size_t i = 0; i < std::size(site::messages); ++i)
        EXPECT_EQ(site::messages[i].code, text::decimal(static_cast<std::int64_t>(i + 1)));
}

TEST(Documents, ListEveryParameterLine)
{
    Texts listed, used;
    for (const auto& cells : tableUnder("CLIENT.PAR"))
        if (std::regex_match(cells[0], std::regex("\\d+")))
            listed.insert(cells[0]);
    for (std::size_t i = 0; i < std::size(site::parameterLines); ++i)
        if (!site::parameterLines[i].meaning.starts_with(u"(not used"))
            used.insert(std::to_string(i + 1));
    EXPECT_EQ(listed, used);

    const std::string sample = contents("examples/site/CLIENT.PAR");
    const std::size_t libraries = matches(sample, "\ncodbib=..,..,[^\r]").size();
    EXPECT_EQ(matches(sample, "\r\n").size(), std::size(site::parameterLines) + libraries);
    EXPECT_LE(libraries, site::mostLibraries);
}

TEST(Documents, TheSampleSchemaHasWhatIsRead)
{
    Texts listed, read;
    const std::string schema = contents("examples/site/schema.sql");
    std::string current;
    for (const auto& line : matches(schema, "CREATE TABLE (\\w+)|\n +(\\w+) +(?:TEXT|DATE|INTEGER)"))
        if (line[1].matched)
            current = line[1].str() + ".";
        else
            listed.insert(current + line[2].str());
    for (const auto& [table, columns] : site::tables) {
        const std::string names = text::toUtf8(columns);
        for (const auto& column : matches(names, "\\w+"))
            read.insert(text::toUtf8(table) + "." + column.str());
    }
    EXPECT_EQ(listed, read);
}

TEST(Documents, NameTheFilesAndTextsOfAnswers)
{
    const std::string guide = contents("docs/administration.md");
    const std::u16string host(site::hostPrefix),
        shown[] = {site::gatewayFile(7, site::requestExtension),
                   site::gatewayFile(7, site::answerExtension),
                   host + site::hostClient(u"7").append(site::requestExtension),
                   host + site::hostClient(u"7").append(site::answerExtension),
                   std::u16string(site::gatewayFailed),
                   std::u16string(text::trim(site::databaseFailed)),
                   std::u16string(site::settingsFile),
                   std::u16string(site::hostFile),
                   u"`" + std::u16string(site::libraryKey)};
    for (const std::u16string& text : shown)
        EXPECT_NE(guide.find(text::toUtf8(text)), guide.npos) << text::toUtf8(text);
}

} // namespace
} // namespace vqloan::test
