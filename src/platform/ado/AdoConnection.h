// The Connection over this project's own providers.
#pragma once

#include "external/Ado.h"
#include "platform/ado/Provider.h"

namespace vqloan {

// The connection text chooses the provider: Provider=SQLite; ODBC for Provider=MSDASQL, DSN= or Driver=.
class AdoConnection final : public Connection
{
public:
    void ConnectionTimeout(std::int32_t seconds) override;
    void CommandTimeout(std::int32_t seconds) override;
    void CursorLocation(std::int32_t location) override;
    void Open(const std::u16string& connectionString, const std::u16string& userId,
              const std::u16string& password, std::int32_t options) override;
    void Close() override;
    std::int32_t State() override;

    // The open database, null when there is none. A recordset shares it and so keeps it open, unless Close
    // closes it for all.
    std::shared_ptr<Session> session() const noexcept;
    std::int32_t commandTimeout() const noexcept { return commandTimeout_; }

private:
    std::shared_ptr<Session> session_;
    std::int32_t connectionTimeout_ = 15;
    std::int32_t commandTimeout_ = 30;
};

} // namespace vqloan
