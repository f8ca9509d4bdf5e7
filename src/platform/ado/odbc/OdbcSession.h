// Any database that has an ODBC driver.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/ado/Provider.h"
#include "platform/ado/odbc/OdbcProduct.h"
#include "platform/ado/odbc/OdbcStatement.h"

namespace vqloan {

// A value that is not plain text (letters, digits, blank, -./_) only ever travels as a parameter: what quotes
// and escapes mean in a literal depends on the server's product, settings and code page. A statement goes to
// the server again only where another form of it may be taken, never after a lock, a time limit or a lost
// connection. A value with a character that the server's code page lacks is in no row.
//
// Compiled statements are kept by shape. A connection that is lost stays open: each statement fails with the
// cause until the client closes it, as a client that asks only for the state could not tell it from one never
// opened.
class OdbcSession final : public Session
{
public:
    OdbcSession(const std::u16string& connectionText, std::int32_t timeLimit);
    ~OdbcSession() override { close(); }

    CursorOwner run(std::u16string_view statement, std::int32_t timeLimit) override;
    bool isOpen() const noexcept override { return isOpen_; }
    void close() noexcept override;
    bool keepsTimeLimits() const noexcept override { return product_.keepsTimeLimits; }

private:
    std::vector<std::u16string> sentValues() const;
    CursorOwner runKept(std::u16string_view text, std::int32_t timeLimit);
    CursorOwner runWithParameters(std::u16string_view text, std::int32_t timeLimit);
    CursorOwner runAsText(std::u16string_view text, std::int32_t timeLimit);
    CursorOwner runNew(StatementShape shape, std::u16string_view text, std::int32_t timeLimit);

    odbc::Environment environment_;
    odbc::Database database_;
    odbc::Product product_;
    bool isOpen_ = false;
    std::vector<std::unique_ptr<OdbcStatement>> statements_; // the oldest in front
    std::vector<std::u16string_view> literals_;              // of the statement that is about to run
};

} // namespace vqloan
