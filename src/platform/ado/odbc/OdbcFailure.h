// The one place where ODBC's diagnostics become failures.
#pragma once

#include <string_view>

#include "platform/ado/odbc/OdbcHandle.h"
#include "platform/runtime/RuntimeError.h"

namespace vqloan::odbc {

inline constexpr std::u16string_view source = u"ODBC";

// What the driver says of its last call: its text, then state and native number. The failure's number tells a
// passed time limit, a lost connection and a refused statement from each other.
RuntimeError failure(SQLSMALLINT type, SQLHANDLE handle);
// The same where the connection could not be opened.
RuntimeError openFailure(const Database& database);

template <SQLSMALLINT Type> void check(SQLRETURN result, const Handle<Type>& handle)
{
    if (!SQL_SUCCEEDED(result))
        throw failure(Type, handle.get());
}

} // namespace vqloan::odbc
