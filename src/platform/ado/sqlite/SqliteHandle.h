// Owner of a compiled statement.
#pragma once

#include <memory>

struct sqlite3_stmt;

namespace vqloan::sqlite {

struct Finalize
{
    void operator()(sqlite3_stmt* handle) const noexcept;
};
using Handle = std::unique_ptr<sqlite3_stmt, Finalize>;

} // namespace vqloan::sqlite
