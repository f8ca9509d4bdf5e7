#include "platform/ado/odbc/OdbcFailure.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>

#include "platform/ado/AdoFailure.h"
#include "platform/runtime/Text.h"

namespace vqloan::odbc {

namespace {

struct Diagnostic
{
    std::u16string state, message;
    SQLINTEGER native = 0;
};

Diagnostic diagnosticOf(SQLSMALLINT type, SQLHANDLE handle)
{
    Diagnostic found;
    char16_t state[SQL_SQLSTATE_SIZE + 1] = {};
    char16_t message[SQL_MAX_MESSAGE_LENGTH] = {};
    SQLSMALLINT length = 0;
    if (!SQL_SUCCEEDED(SQLGetDiagRecW(type, handle, 1, wide(state), &found.native, wide(message),
                                      static_cast<SQLSMALLINT>(std::size(message)), &length)))
        return {u"HY000", u"The driver tells no cause", 0};
    found.state = state;
    found.message.assign(message,
                         std::min<std::size_t>(static_cast<std::size_t>(length), std::size(message) - 1));
    // A message becomes part of an answer's line and field.
    std::replace_if(
        found.message.begin(), found.message.end(), [](char16_t c) { return c < u' '; }, u' ');
    return found;
}

std::int32_t numberOf(std::u16string_view state)
{
    const auto isAny = [state](std::initializer_list<std::u16string_view> states) {
        return std::any_of(states.begin(), states.end(),
                           [state](auto one) { return state.starts_with(one); });
    };
    // Some servers' own states reach the application: a cancelled statement, and those of a server going
    // down.
    if (isAny({u"HYT", u"S1T", u"57014"}))
        return ado::timeLimitPassed;
    if (isAny({u"08", u"57P"}))
        return ado::connectionFailed;
    return ado::statementFailed;
}

RuntimeError failure(const Diagnostic& cause, std::int32_t number)
{
    return {number,
            cause.message + u" (SQLSTATE " + cause.state + u", native error " + text::decimal(cause.native) +
                u")",
            std::u16string(source)};
}

} // namespace

RuntimeError failure(SQLSMALLINT type, SQLHANDLE handle)
{
    const Diagnostic cause = diagnosticOf(type, handle);
    return failure(cause, numberOf(cause.state));
}

RuntimeError openFailure(const Database& database)
{
    return failure(diagnosticOf(Database::type, database.get()), ado::connectionFailed);
}

} // namespace vqloan::odbc
