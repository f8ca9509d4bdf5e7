#include "platform/ado/sqlite/SqliteFailure.h"

#include <sqlite3.h>

#include "platform/ado/AdoFailure.h"
#include "platform/runtime/Text.h"

namespace vqloan::sqlite {

namespace {

// SQLite's own numbers; the extended ones hold them in their lowest byte.
int errorNumber(sqlite3* database)
{
    return sqlite3_errcode(database) & 0xFF;
}

RuntimeError failure(sqlite3* database, std::int32_t number)
{
    const int native = errorNumber(database);
    if (native == SQLITE_NOMEM)
        return RuntimeError(Failure::OutOfMemory);
    RuntimeError error(number, text::fromUtf8(sqlite3_errmsg(database)), std::u16string(source));
    error.description.append(u" (SQLite error ").append(text::decimal(native)).append(u")");
    if (native == SQLITE_CANTOPEN || native == SQLITE_IOERR)
        error.lastDllError = sqlite3_system_errno(database);
    return error;
}

std::int32_t statementNumber(int native)
{
    switch (native) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
    case SQLITE_INTERRUPT:
        return ado::timeLimitPassed;
    case SQLITE_IOERR:
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
    case SQLITE_CANTOPEN:
        return ado::connectionFailed;
    default:
        return ado::statementFailed;
    }
}

} // namespace

RuntimeError openFailure(sqlite3* database, std::u16string_view file)
{
    RuntimeError error = failure(database, ado::connectionFailed);
    error.description.insert(0, u": ").insert(0, file);
    return error;
}

RuntimeError statementFailure(sqlite3* database)
{
    return failure(database, statementNumber(errorNumber(database)));
}

RuntimeError statementFailure(std::u16string_view description)
{
    return {ado::statementFailed, std::u16string(description), std::u16string(source)};
}

} // namespace vqloan::sqlite
