// Rows of a database that the site's kind SQL2 reads.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "external/Ado.h"

namespace vqloan::client {

// Runs the statement; nothing is done with its rows. RuntimeError with the database's own words.
void run(const std::shared_ptr<Connection>& connection, std::u16string_view statement);

// The first columns of each row, in their order. RuntimeError.
std::vector<std::vector<Variant>> rowsOf(const std::shared_ptr<Connection>& connection,
                                         std::u16string_view statement, std::size_t columns);

// The same of at most that many rows, in the way that the database knows: "columns" and "from" are parts of
// the statement.
std::vector<std::vector<Variant>> someRows(const std::shared_ptr<Connection>& connection,
                                           std::u16string_view columns, std::size_t columnCount,
                                           std::u16string_view from, std::size_t most);

} // namespace vqloan::client
