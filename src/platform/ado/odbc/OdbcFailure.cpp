#include "platform/ado/odbc/OdbcFailure.h"

#include <algorithm>
#include <charconv>
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

bool startsWithAny(std::u16string_view state, std::initializer_list<std::u16string_view> states)
{
    return std::any_of(states.begin(), states.end(), [state](auto one) { return state.starts_with(one); });
}

// Numbers of MariaDB and its kin, which tell much under the states of something else.
namespace mariadb {
constexpr SQLINTEGER collationsDiffer = 1267, statementOutOfDate = 1615, statementUnknown = 1243,
                     timeLimitPassed = 1969;
} // namespace mariadb

std::int32_t numberOf(const Diagnostic& cause)
{
    // Some servers' own states reach the application: a cancelled statement, and those of a server going
    // down or ending a session.
    if (startsWithAny(cause.state, {u"HYT", u"S1T", u"57014"}) || cause.native == mariadb::timeLimitPassed)
        return ado::timeLimitPassed;
    if (startsWithAny(cause.state, {u"08", u"57P", u"70100"}))
        return ado::connectionFailed;
    return ado::statementFailed;
}

DriverFailure::Cause causeOf(const Diagnostic& cause)
{
    using Cause = DriverFailure::Cause;
    if (cause.state == u"22P05" || cause.native == mariadb::collationsDiffer)
        return Cause::character;
    // A right, a table or a column that is missing stays so in every form.
    if (startsWithAny(cause.state, {u"42501", u"42P01", u"42703", u"42S"}))
        return Cause::other;
    // Parameters of the wrong number or type, a feature that is not there, a statement that is not known,
    // what is wrong with its words; and the same in the driver's own states.
    if (startsWithAny(cause.state,
                      {u"07", u"0A", u"26", u"42", u"HY003", u"HY004", u"HY105", u"HYC00", u"IM001"}) ||
        cause.native == mariadb::statementOutOfDate || cause.native == mariadb::statementUnknown)
        return Cause::form;
    return Cause::other;
}

RuntimeError failure(const Diagnostic& cause, std::int32_t number)
{
    return {number,
            cause.message + u" (SQLSTATE " + cause.state + u", native error " + text::decimal(cause.native) +
                u")",
            std::u16string(source)};
}

// The bytes that a message tells as "0xe4 0xb8 0x80"; empty where it tells none.
std::string bytesIn(std::string_view message)
{
    std::string bytes;
    for (std::size_t at = message.find("0x"); at != message.npos; at = message.find("0x", at)) {
        unsigned byte = 0;
        std::from_chars(message.data() + at + 2, message.data() + std::min(at + 4, message.size()), byte, 16);
        bytes += static_cast<char>(byte);
        at += 2;
    }
    return bytes;
}

} // namespace

// PostgreSQL tells the character's bytes, which must be a value's: a row may hold one, too, that its reader
// lacks. MariaDB tells how firmly either side's code page stands, and a value's is the one that would give
// way.
bool DriverFailure::isCharacterLackedFor(const std::vector<std::u16string>& values) const
{
    if (cause != Cause::character)
        return false;
    const std::string bytes = bytesIn(text::toUtf8(description));
    const bool isOfAValue = description.find(u"COERCIBLE)") != description.npos;
    return std::any_of(values.begin(), values.end(), [&](const std::u16string& value) {
        const bool isAscii = std::all_of(value.begin(), value.end(), [](char16_t c) { return c < 128; });
        return !isAscii &&
               (isOfAValue || (!bytes.empty() && text::toUtf8(value).find(bytes) != std::string::npos));
    });
}

DriverFailure failure(SQLSMALLINT type, SQLHANDLE handle)
{
    const Diagnostic cause = diagnosticOf(type, handle);
    return {failure(cause, numberOf(cause)), causeOf(cause)};
}

RuntimeError openFailure(const Database& database)
{
    return failure(diagnosticOf(Database::type, database.get()), ado::connectionFailed);
}

} // namespace vqloan::odbc
