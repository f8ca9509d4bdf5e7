// The rows of one statement, read whole.
#pragma once

#include <memory>
#include <vector>

#include "platform/ado/Provider.h"
#include "platform/ado/odbc/OdbcHandle.h"

namespace vqloan {

// What a statement's result consists of.
struct OdbcColumns
{
    OdbcColumns() = default; // none
    // As the driver describes the statement that has just been executed.
    explicit OdbcColumns(const odbc::Statement& statement);

    enum class Kind
    {
        Integer,
        Real,
        Decimal,
        Date,
        Bytes,
        Text
    };
    ColumnNames names;
    std::vector<Kind> kinds;
};

// Reads everything at once: not every driver runs a statement while another's rows are still being read.
// Values: integers and decimals without a fraction as the narrowest of 32 and 64 bits that holds them, other
// decimals as a real where that loses nothing and else as text, dates as dates where automation has them and
// else as text, bytes as the text that they are (UTF-8 or else the code page), all other types as text,
// blanks at the end included.
class OdbcResult final : public Cursor
{
public:
    // What the statement has just been executed to; afterwards the statement is free for the next run.
    OdbcResult(const odbc::Statement& statement, std::shared_ptr<const OdbcColumns> columns);
    // No rows.
    OdbcResult() : columns_(std::make_shared<const OdbcColumns>()) {}

    bool next() override;
    const ColumnNames& columns() const override { return columns_->names; }
    Variant value(std::size_t column) override
    {
        return values_[(row_ - 1) * columns_->kinds.size() + column];
    }
    void end() noexcept override { delete this; }

private:
    std::shared_ptr<const OdbcColumns> columns_;
    std::vector<Variant> values_; // row by row
    std::size_t row_ = 0;         // from 1
};

} // namespace vqloan
