// The one place where SQLite's errors become failures.
#pragma once

#include <string_view>

#include "platform/runtime/RuntimeError.h"

struct sqlite3;

namespace vqloan::sqlite {

inline constexpr std::u16string_view source = u"SQLite";

// What `database` reports of its last call, as a failure of opening that file.
RuntimeError openFailure(sqlite3* database, std::u16string_view file);
// The same for a statement.
RuntimeError statementFailure(sqlite3* database);
// A statement that SQLite need not even see.
RuntimeError statementFailure(std::u16string_view description);

} // namespace vqloan::sqlite
