// The one place where ODBC's diagnostics become failures.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/ado/odbc/OdbcHandle.h"
#include "platform/runtime/RuntimeError.h"

namespace vqloan::odbc {

inline constexpr std::u16string_view source = u"ODBC";

// A failure that a driver tells.
class DriverFailure : public RuntimeError
{
public:
    enum class Cause
    {
        form,      // the statement's form: compiled out of date, or parameters where the database takes none
        character, // perhaps a value's character that the server's code page lacks
        other      // a lock, a limit, a lost connection...: asking again would only wait again
    };
    DriverFailure(RuntimeError failure, Cause cause) : RuntimeError(std::move(failure)), cause(cause) {}

    // Whether one of the values that were sent holds a character that the server's code page lacks, and that
    // is the failure.
    bool isCharacterLackedFor(const std::vector<std::u16string>& values) const;

    Cause cause;
};

// What the driver says of its last call: its text, then state and native number. The failure's number tells a
// passed time limit, a lost connection and a refused statement from each other.
DriverFailure failure(SQLSMALLINT type, SQLHANDLE handle);
// The same where the connection could not be opened.
RuntimeError openFailure(const Database& database);

template <SQLSMALLINT Type> void check(SQLRETURN result, const Handle<Type>& handle)
{
    if (!SQL_SUCCEEDED(result))
        throw failure(Type, handle.get());
}

} // namespace vqloan::odbc
