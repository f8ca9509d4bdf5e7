// One compiled statement of a database behind ODBC.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/ado/Provider.h"
#include "platform/ado/StatementShape.h"
#include "platform/ado/odbc/OdbcProduct.h"
#include "platform/ado/odbc/OdbcResult.h"

namespace vqloan {

// The value of a literal as it is sent. A character of code 0 would end it in many drivers, and then a part
// of it would be looked for; no text server holds one. It becomes the replacement character, as does what no
// encoding can carry.
std::u16string sentValue(std::u16string_view literal);

class OdbcStatement
{
public:
    OdbcStatement(const odbc::Database& database, StatementShape shape, const odbc::Product& product);

    const StatementShape& shape() const noexcept { return shape_; }
    // Runs it and reads its result, after which it can run again.
    CursorOwner run(const std::vector<std::u16string_view>& literals, std::int32_t timeLimit);

private:
    SQLRETURN execute();
    void bind(const std::vector<std::u16string_view>& literals);
    void limitTime(std::int32_t seconds) noexcept;

    StatementShape shape_;
    odbc::Statement handle_;
    std::int32_t timeLimit_ = 0;
    const odbc::Product& product_;
    std::shared_ptr<const OdbcColumns> columns_; // of the last result
    std::vector<std::u16string> values_;         // bound: the driver reads them while the statement runs
    std::vector<std::string> narrow_;            // the same for a driver that wants them so
    std::vector<SQLLEN> lengths_;                // of the values, in bytes; bound as well
};

} // namespace vqloan
