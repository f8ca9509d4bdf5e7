// Owners of ODBC's handles.
#pragma once

#include <cstdint>
#include <new>
#include <utility>

#include "platform/automation/Automation.h"

// The driver manager's headers declare some names of the automation types themselves, and ULONG otherwise.
#define ULONG OdbcUlong
#include <sql.h>
#include <sqlext.h>
#undef ULONG
#undef BOOL

namespace vqloan::odbc {

template <SQLSMALLINT Type> class Handle
{
public:
    static constexpr SQLSMALLINT type = Type;

    Handle() noexcept = default;
    // A new handle; `parent` is the environment of a connection or the connection of a statement.
    explicit Handle(SQLHANDLE parent)
    {
        if (!SQL_SUCCEEDED(SQLAllocHandle(Type, parent, &handle_)))
            throw std::bad_alloc(); // there is no handle yet that could tell more
    }
    ~Handle()
    {
        if (handle_ != SQL_NULL_HANDLE)
            SQLFreeHandle(Type, handle_);
    }
    Handle(Handle&& other) noexcept : handle_(std::exchange(other.handle_, SQL_NULL_HANDLE)) {}
    Handle& operator=(Handle&& other) noexcept
    {
        std::swap(handle_, other.handle_);
        return *this;
    }

    SQLHANDLE get() const noexcept { return handle_; }

private:
    SQLHANDLE handle_ = SQL_NULL_HANDLE;
};

using Environment = Handle<SQL_HANDLE_ENV>;
using Database = Handle<SQL_HANDLE_DBC>;
using Statement = Handle<SQL_HANDLE_STMT>;

// Texts go in and out in UTF-16.
static_assert(sizeof(SQLWCHAR) == sizeof(char16_t));
inline SQLWCHAR* wide(const char16_t* text) noexcept
{
    return reinterpret_cast<SQLWCHAR*>(
        const_cast<char16_t*>(text)); // ODBC reads what it does not declare const
}
inline SQLPOINTER number(std::uintptr_t value) noexcept
{
    return reinterpret_cast<SQLPOINTER>(value);
}

} // namespace vqloan::odbc
