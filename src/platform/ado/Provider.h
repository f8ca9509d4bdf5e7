// What a database must give so that the ADO objects can stand on it.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "platform/ado/ColumnNames.h"
#include "platform/ado/ConnectionString.h"
#include "platform/runtime/Variant.h"

namespace vqloan {

// One running statement. When its session has been closed, only `end` may be called.
class Cursor
{
public:
    // Goes to the next row, at first to the first one; false when there is none, and then it is not called
    // again.
    virtual bool next() = 0;
    virtual const ColumnNames& columns() const = 0;
    // Of the current row: text, integer, real, date or Null.
    virtual Variant value(std::size_t column) = 0;
    // Releases whatever the statement holds in the database; the cursor is not used afterwards.
    virtual void end() noexcept = 0;

protected:
    ~Cursor() = default;
};

struct EndCursor
{
    void operator()(Cursor* cursor) const noexcept { cursor->end(); }
};
using CursorOwner = std::unique_ptr<Cursor, EndCursor>;

// One open database. It must outlive its cursors, closed or not.
class Session
{
public:
    virtual ~Session() = default; // closes

    // The client's call is over in which OneState has let it keep what it had begun.
    virtual void callEnded() noexcept {}

    // Begins the statement, which then stands before its first row. Each of its steps may take that many
    // seconds; 0 for no limit.
    virtual CursorOwner run(std::u16string_view statement, std::int32_t timeLimit) = 0;
    // False after `close`, and when the database has gone.
    virtual bool isOpen() const noexcept = 0;
    // Ends all statements.
    virtual void close() noexcept = 0;
    // Whether a statement's time limit is kept. Not every driver can.
    virtual bool keepsTimeLimits() const noexcept { return true; }
};

struct OpenRequest
{
    const ConnectionString& connection;
    std::u16string_view userId, password;
    std::int32_t timeLimit; // seconds; 0 for none
};

std::shared_ptr<Session> openSqlite(const OpenRequest& request);
std::shared_ptr<Session> openOdbc(const OpenRequest& request);

} // namespace vqloan
