// A table for a terminal.
#pragma once

#include <string>
#include <vector>

namespace vqloan::client {

using Row = std::vector<std::u16string>;

// Columns as wide as their contents; where they do not fit in `width` columns of the terminal, the widest are
// made narrower and their cells continue on further lines. The first row is the heading. UTF-8; control
// characters, which could drive the terminal, become blanks.
std::string formatTable(const std::vector<Row>& rows, std::size_t width);

} // namespace vqloan::client
