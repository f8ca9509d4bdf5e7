#include "platform/ado/AdoConnection.h"

#include "platform/ado/AdoFailure.h"
#include "platform/ado/Passwords.h"
#include "platform/runtime/Text.h"

namespace vqloan {

namespace {

using ado::Misuse;

RuntimeError failure(Misuse misuse)
{
    return ado::failure(misuse, std::u16string(ado::connectionSource));
}

std::shared_ptr<Session> openSession(const OpenRequest& request)
{
    const std::u16string* provider = request.connection.find(u"Provider");
    if (provider && text::equalsIgnoringCase(*provider, u"SQLite"))
        return openSqlite(request);
    if (provider && !text::equalsIgnoringCase(*provider, u"MSDASQL"))
        throw ado::providerNotFound();
    if (provider || request.connection.find(u"DSN") || request.connection.find(u"Driver"))
        return openOdbc(request);
    throw RuntimeError(
        ado::connectionFailed,
        u"The connection text says nothing of a database: Provider=, DSN= or Driver= is missing.",
        std::u16string(ado::connectionSource));
}

} // namespace

#ifndef VQLOAN_WITH_SQLITE
std::shared_ptr<Session> openSqlite(const OpenRequest&)
{
    RuntimeError error = ado::providerNotFound();
    error.description += u" This build has no SQLite.";
    throw error;
}
#endif

#ifndef VQLOAN_WITH_ODBC
std::shared_ptr<Session> openOdbc(const OpenRequest&)
{
    RuntimeError error = ado::providerNotFound();
    error.description += u" This build has no ODBC.";
    throw error;
}
#endif

void AdoConnection::ConnectionTimeout(std::int32_t seconds)
{
    if (session())
        throw failure(Misuse::ObjectOpen);
    if (seconds < 0)
        throw failure(Misuse::InvalidArgument);
    connectionTimeout_ = seconds;
}

void AdoConnection::CommandTimeout(std::int32_t seconds)
{
    if (seconds < 0)
        throw failure(Misuse::InvalidArgument);
    commandTimeout_ = seconds;
}

void AdoConnection::CursorLocation(std::int32_t location)
{
    // None, server and client. It changes nothing here: rows are always read forward, as they come.
    if (location < 1 || location > 3)
        throw failure(Misuse::InvalidArgument);
}

void AdoConnection::Open(const std::u16string& connectionString, const std::u16string& userId,
                         const std::u16string& password, std::int32_t)
{
    if (session())
        throw failure(Misuse::ObjectOpen);
    const ConnectionString connection(connectionString);
    try {
        session_ = openSession({connection, userId, password, connectionTimeout_});
    } catch (RuntimeError& error) {
        ado::hidePasswords(error, connectionString, password);
        throw;
    }
}

void AdoConnection::Close()
{
    if (!session_)
        throw failure(Misuse::ObjectClosed);
    session_->close();
    session_.reset();
}

std::int32_t AdoConnection::State()
{
    return session() ? ado::stateOpen : ado::stateClosed;
}

std::shared_ptr<Session> AdoConnection::session() const noexcept
{
    return session_ && session_->isOpen() ? session_ : nullptr;
}

} // namespace vqloan
