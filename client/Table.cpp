#include "Table.h"

#include <algorithm>
#include <numeric>
#include <ostream>
#include <sstream>
#include <utility>

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
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t character = text[i];
        if (character >= 0xD800 && character < 0xDC00 && i + 1 < text.size())
            character = 0x10000 + ((character - 0xD800) << 10) + (text[++i] - 0xDC00u);
        const bool control = character < 0x20 || (character >= 0x7F && character < 0xA0);
        all += control ? U' ' : character;
    }
    return all;
}

std::u16string units(std::u32string_view text)
{
    std::u16string all;
    for (const char32_t character : text) {
        if (character < 0x10000) {
            all += static_cast<char16_t>(character);
        } else {
            all += static_cast<char16_t>(0xD800 + ((character - 0x10000) >> 10));
            all += static_cast<char16_t>(0xDC00 + ((character - 0x10000) & 0x3FF));
        }
    }
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

std::vector<std::size_t> columnWidths(const std::vector<std::vector<std::u32string>>& rows, std::size_t width)
{
    std::vector<std::size_t> widths(rows.front().size());
    for (const auto& row : rows)
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], columns(row[i]));
    for (;;) {
        const std::size_t total = std::accumulate(widths.begin(), widths.end(), gap * (widths.size() - 1));
        const auto widest = std::ranges::max_element(widths);
        if (total <= width || *widest <= narrowest)
            return widths;
        --*widest;
    }
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
