// One compiled statement of the embedded database.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/ado/Provider.h"
#include "platform/ado/StatementShape.h"
#include "platform/ado/sqlite/SqliteHandle.h"

namespace vqloan {

class SqliteSession;

// Belongs to its session, which runs it again for every statement of its shape. Values: TEXT as text, INTEGER
// as the narrowest of 32 and 64 bits that holds it, REAL as a real, a BLOB as the text that its bytes are
// (UTF-8 or else the code page), and ISO 8601 text in a column declared DATE, DATETIME or TIMESTAMP as a
// date.
class SqliteStatement final : public Cursor
{
public:
    SqliteStatement(SqliteSession& session, std::u16string_view text);

    const StatementShape& shape() const noexcept { return shape_; }
    bool isRunning() const noexcept { return running_; }
    bool hasFailed() const noexcept { return failed_; }

    // Begins a run, which `end` ends also when `bind` fails.
    CursorOwner begin(std::int32_t timeLimit) noexcept;
    // The literals of the statement's text, as `shape` found them.
    void bind(const std::vector<std::u16string_view>& literals);
    // Takes it from the database; it can only be ended then.
    void finalize() noexcept { handle_.reset(); }

    bool next() override;
    const ColumnNames& columns() const override { return columns_; }
    Variant value(std::size_t column) override;
    void end() noexcept override;

private:
    void compile(std::u16string_view text);
    void describe();

    SqliteSession& session_;
    StatementShape shape_;
    sqlite::Handle handle_;
    bool running_ = false, stepped_ = false, failed_ = false;
    std::int32_t timeLimit_ = 0;
    std::vector<std::string> values_; // bound: SQLite reads them while the statement runs
    int recompilations_ = 0;          // by SQLite, when `columns_` were read
    ColumnNames columns_;
    std::vector<bool> holdsDates_; // by column
};

} // namespace vqloan
