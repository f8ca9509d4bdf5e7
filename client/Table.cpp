#include "Table.h"

#include <algorithm>
#include <numeric>
#include <ostream>
#include <sstream>
#include <utility>

#include "platform/program/Program.h"
#include "platform/runtime/Numbers.h"
#include "platform/runtime/OsProcess.h"
#include "platform/runtime/Text.h"

namespace vqloan::client {

namespace {

constexpr std::size_t gap = 2, narrowest = 8;

struct Range
{
    char32_t first, last;
};

constexpr Range combining[] = {{0x300, 0x36F}, {0x200B, 0x200F}, {0x20D0, 0x20FF}, {0xFE00, 0xFE0F}};
constexpr Range wide[] = {{0x1100, 0x115F},   {0x2E80, 0xA4CF},  {0xAC00, 0xD7A3}, {0xF900, 0xFAFF},
                          {0xFE30, 0xFE6F},   {0xFF00, 0xFF60},  {0xFFE0, 0xFFE6}, {0x1F300, 0x1F64F},
                          {0x1F900, 0x1F9FF}, {0x20000, 0x3FFFD}};

std::size_t columns(char32_t character)
{
    const auto contains = [character](Range range) {
        return range.first <= character && character <= range.last;
    };
    if (std::ranges::any_of(combining, contains))
        return 0;
    return std::ranges::any_of(wide, contains) ? 2 : 1;
}

std::size_t columns(std::u32string_view text)
{
    return std::accumulate(text.begin(), text.end(), std::size_t{0},
                           [](std::size_t sum, char32_t character) { return sum + columns(character); });
}

std::u32string characters(std::u16string_view text)
{
    std::u32string all;
    while (!text.empty()) {
        const char32_t character = text::takeCharacter(text);
        const bool control = character < 0x20 || (character >= 0x7F && character < 0xA0);
        all += control ? U' ' : character;
    }
    return all;
}

std::u16string units(std::u32string_view text)
{
    std::u16string all;
    for (const char32_t character : text)
        text::append(all, character);
    return all;
}

// Takes off the front of `text` what fits in `width`: up to a blank where there is one, else as much as fits.
std::u32string takeLine(std::u32string& text, std::size_t width)
{
    std::size_t end = 0, used = 0;
    while (end < text.size() && used + columns(text[end]) <= width)
        used += columns(text[end++]);
    std::size_t next = end;
    if (end < text.size()) {
        const auto blank = text.rfind(U' ', end);
        if (blank != text.npos && blank > 0) {
            end = blank;
            next = blank + 1;
        }
    }
    std::u32string line = text.substr(0, end);
    text.erase(0, std::max<std::size_t>(next, 1));
    return line;
}

// What a cell cannot do with less than without breaking a word, where there are no absurd ones.
std::size_t longestWord(std::u32string_view text)
{
    constexpr std::size_t longest = 120;
    std::size_t most = narrowest;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(U' '), text.size());
        most = std::max(most, columns(text.substr(0, end)));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return std::min(most, longest);
}

std::vector<std::size_t> columnWidths(const std::vector<std::vector<std::u32string>>& rows, std::size_t width)
{
    std::vector<std::size_t> widths(rows.front().size()), least(widths.size());
    for (const auto& row : rows)
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], columns(row[i]));
            least[i] = std::max(least[i], longestWord(row[i]));
        }
    while (std::accumulate(widths.begin(), widths.end(), gap * (widths.size() - 1)) > width) {
        std::size_t* widest = nullptr;
        for (std::size_t i = 0; i < widths.size(); ++i)
            if (widths[i] > least[i] && (!widest || widths[i] > *widest))
                widest = &widths[i];
        if (!widest)
            break;
        --*widest;
    }
    return widths;
}

// One row on as many lines as its cells need.
void append(std::u32string& out, std::vector<std::u32string> cells, const std::vector<std::size_t>& widths)
{
    do {
        std::u32string line;
        for (std::size_t i = 0; i < cells.size(); ++i) {
            const std::u32string piece = takeLine(cells[i], widths[i]);
            line += piece;
            line.append(widths[i] + gap - columns(piece), U' ');
        }
        line.erase(line.find_last_not_of(U' ') + 1);
        out += line + U'\n';
    } while (std::ranges::any_of(cells, [](const auto& rest) { return !rest.empty(); }));
}

std::vector<std::vector<std::u32string>> cellsOf(const std::vector<Row>& rows)
{
    std::vector<std::vector<std::u32string>> cells;
    for (const Row& row : rows) {
        cells.emplace_back();
        for (const auto& cell : row)
            cells.back().push_back(characters(cell));
    }
    return cells;
}

std::vector<std::u32string> rule(const std::vector<std::size_t>& widths)
{
    std::vector<std::u32string> cells;
    for (const std::size_t columnWidth : widths)
        cells.emplace_back(columnWidth, U'\u2500');
    return cells;
}

} // namespace

std::size_t outputWidth()
{
    const std::u16string told = os::environmentVariable(u"COLUMNS").value_or(u"");
    if (!told.empty() && told.size() < 6 && told.find_first_not_of(u"0123456789") == told.npos)
        return std::max<std::size_t>(20, static_cast<std::size_t>(numbers::leadingNumber(told)));
    const int columns = program::terminalColumns(program::Stream::output);
    return columns > 0 ? static_cast<std::size_t>(columns) : 80;
}

std::string formatTable(const std::vector<Row>& rows, std::size_t width)
{
    std::ostringstream out;
    TableWriter table(out, rows.front(), width);
    for (std::size_t i = 1; i < rows.size(); ++i)
        table.add(rows[i]);
    table.end();
    return out.str();
}

TableWriter::TableWriter(std::ostream& out, Row heading, std::size_t width) : out_(out), width_(width)
{
    rows_.push_back(std::move(heading));
}

void TableWriter::add(Row row)
{
    constexpr std::size_t most = 1000;
    rows_.push_back(std::move(row));
    if (rows_.size() >= most)
        end();
}

void TableWriter::end()
{
    const auto cells = cellsOf(rows_);
    rows_.clear();
    const bool isFirst = widths_.empty();
    if (isFirst)
        widths_ = columnWidths(cells, width_);
    std::u32string text;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        append(text, cells[i], widths_);
        if (isFirst && i == 0)
            append(text, rule(widths_), widths_);
    }
    out_ << text::toUtf8(units(text));
}

} // namespace vqloan::client
