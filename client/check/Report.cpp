#include "check/Report.h"

#include <algorithm>
#include <ostream>

#include <nlohmann/json.hpp>

#include "Log.h"
#include "platform/runtime/Text.h"

namespace vqloan::client {

namespace {

using Json = nlohmann::ordered_json;

std::string nameOf(const Place& place)
{
    std::string name = text::toUtf8(place.file);
    if (place.line > 0)
        name += " line " + std::to_string(place.line);
    if (!place.key.empty())
        name += ", " + text::toUtf8(place.key);
    return name;
}

std::size_t columns(std::string_view utf8)
{
    return static_cast<std::size_t>(
        std::ranges::count_if(utf8, [](char byte) { return (byte & 0xC0) != 0x80; }));
}

// A paragraph, `indent` blanks in front of each line.
void printText(std::ostream& out, std::string_view text, std::size_t indent, std::size_t width)
{
    std::size_t used = 0;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(' '), text.size());
        const std::string_view word = text.substr(0, end);
        const std::size_t size = columns(word);
        if (used == 0 || indent + used + 1 + size > width) {
            out << (used == 0 ? "" : "\n") << std::string(indent, ' ') << word;
            used = size;
        } else {
            out << ' ' << word;
            used += 1 + size;
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    out << '\n';
}

} // namespace

void Report::section(std::u16string title, Row heading)
{
    sections_.push_back({std::move(title), {std::move(heading)}});
}

void Report::fact(Row row)
{
    sections_.back().rows.push_back(std::move(row));
}

void Report::finding(Place place, std::u16string what, std::u16string advice)
{
    Finding finding{std::move(place), std::move(what), std::move(advice)};
    if (std::ranges::find(findings_, finding) == findings_.end())
        findings_.push_back(std::move(finding));
}

void Report::print(std::ostream& out, std::size_t width) const
{
    for (const Section& section : sections_)
        if (section.rows.size() > 1)
            out << text::toUtf8(section.title) << "\n\n" << formatTable(section.rows, width) << '\n';
    if (findings_.empty()) {
        out << "No findings.\n";
        return;
    }
    constexpr std::size_t indent = 4;
    out << "Findings\n";
    for (std::size_t i = 0; i < findings_.size(); ++i) {
        const std::string number = std::to_string(i + 1);
        out << '\n' << std::string(number.size() < 3 ? 3 - number.size() : 0, ' ') << number << ' ';
        out << printable(nameOf(findings_[i].place)) << '\n';
        printText(out, printable(text::toUtf8(findings_[i].what)), indent, width);
        printText(out, printable(text::toUtf8(findings_[i].advice)), indent, width);
    }
}

void Report::printJson(std::ostream& out) const
{
    Json sections = Json::array(), findings = Json::array();
    for (const auto& [title, rows] : sections_) {
        Json facts = Json::array();
        for (std::size_t i = 1; i < rows.size(); ++i) {
            Json fact = Json::object();
            for (std::size_t column = 0; column < rows[i].size(); ++column)
                fact[text::toUtf8(rows.front()[column])] = text::toUtf8(rows[i][column]);
            facts.push_back(std::move(fact));
        }
        sections.push_back({{"title", text::toUtf8(title)}, {"rows", std::move(facts)}});
    }
    for (const auto& [place, what, advice] : findings_)
        findings.push_back({{"file", text::toUtf8(place.file)},
                            {"line", place.line > 0 ? Json(place.line) : Json()},
                            {"key", place.key.empty() ? Json() : Json(text::toUtf8(place.key))},
                            {"finding", text::toUtf8(what)},
                            {"advice", text::toUtf8(advice)}});
    out << Json{{"sections", std::move(sections)}, {"findings", std::move(findings)}}.dump(2) << '\n';
}

} // namespace vqloan::client
