// A table for a terminal.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

namespace vqloan::client {

// The columns to write in on the standard output: COLUMNS of the environment, those of the terminal, or 80.
std::size_t outputWidth();

using Row = std::vector<std::u16string>;

// Columns as wide as their contents; where they do not fit in `width` columns of the terminal, the widest are
// made narrower, down to their longest word, and their cells continue on further lines. The first row is the
// heading. UTF-8; control characters, which could drive the terminal, become blanks.
std::string formatTable(const std::vector<Row>& rows, std::size_t width);

// The same for any number of rows: the columns are as wide as the first of them need.
class TableWriter
{
public:
    TableWriter(std::ostream& out, Row heading, std::size_t width);
    void add(Row row);
    // Writes what is not written yet.
    void end();

private:
    std::ostream& out_;
    std::size_t width_;
    std::vector<Row> rows_; // not written yet
    std::vector<std::size_t> widths_;
};

} // namespace vqloan::client
