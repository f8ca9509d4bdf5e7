// The ADO objects, as far as the component uses them. Every operation may fail with a RuntimeError whose
// number is an HRESULT and whose text is the database's own.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "platform/runtime/Variant.h"

namespace vqloan {

namespace ado {
// Values of Connection::State; further bits are added while a connection is connecting, executing or
// fetching.
inline constexpr std::int32_t stateClosed = 0;
inline constexpr std::int32_t stateOpen = 1;
inline constexpr std::int32_t cursorDynamic = 2;
inline constexpr std::int32_t lockReadOnly = 1;
inline constexpr std::int32_t commandText = 1;
} // namespace ado

class Connection
{
public:
    virtual ~Connection() = default; // closes

    // Seconds that opening, and each statement, may take. The provider's defaults are 15 and 30.
    virtual void ConnectionTimeout(std::int32_t seconds) = 0;
    virtual void CommandTimeout(std::int32_t seconds) = 0;
    virtual void CursorLocation(std::int32_t location) = 0;

    virtual void Open(const std::u16string& connectionString, const std::u16string& userId,
                      const std::u16string& password, std::int32_t options) = 0;
    virtual void Close() = 0;
    virtual std::int32_t State() = 0;
};

class Field
{
public:
    // The value in the recordset's current row: text, integer, real, date or Null.
    virtual Variant Value() = 0;

protected:
    ~Field() = default;
};

class Recordset
{
public:
    virtual ~Recordset() = default; // closes

    // Runs the statement and stands on its first row. A second Open needs a Close before it.
    virtual void Open(std::u16string_view source, const std::shared_ptr<Connection>& activeConnection,
                      std::int32_t cursorType, std::int32_t lockType, std::int32_t options) = 0;
    virtual void Close() = 0;
    virtual bool Eof() = 0; // the published name is a macro of <cstdio>
    virtual void MoveNext() = 0;

    // One field of the current row, by name without regard to case or by position from 0. Belongs to the
    // recordset and is good until it is closed.
    virtual Field& Item(std::u16string_view name) = 0;
    virtual Field& Item(std::int32_t position) = 0;
};

class Session; // an open database, as its provider has it

// What a client's call reads while one lives shows one state of the database, where the provider can give
// that: the embedded one does, in a read transaction for the first connection that the call reads. No lock
// outlives it. It is given up and begun anew after 50 ms, so that a writer does not wait longer for it, which
// is long enough for thousands of copies. Calls that enter meanwhile have one of their own.
class OneState
{
public:
    OneState(); // throws std::bad_alloc
    ~OneState();
    OneState(const OneState&) = delete;
    OneState& operator=(const OneState&) = delete;

    // For providers. True when the session may keep what it has begun until the thread's innermost call ends,
    // when it is told.
    static bool keeps(Session& session);
    // The session ends first.
    static void forget(const Session& session) noexcept;

private:
    OneState* const outer_;
    Session* session_ = nullptr;
};

// New objects: closed, on no connection.
std::shared_ptr<Connection> createConnection();
std::unique_ptr<Recordset> createRecordset();

} // namespace vqloan
