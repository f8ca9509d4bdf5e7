#include "platform/ado/odbc/OdbcSession.h"

#include <algorithm>
#include <iterator>

#include "platform/ado/AdoFailure.h"
#include "platform/ado/odbc/OdbcConnectionText.h"
#include "platform/ado/odbc/OdbcFailure.h"

namespace vqloan {

namespace {

// The component runs four shapes.
constexpr std::size_t statementsKept = 16;

// The driver manager cuts each character down to a byte for a driver without wide functions, and some become
// quotes then. Only asking shows it.
bool takesWideText(const odbc::Database& database)
{
    constexpr std::u16string_view probe = u"SELECT '\u0127'"; // its lower byte is a quote
    char16_t returned[64] = {};
    SQLINTEGER length = 0;
    return SQL_SUCCEEDED(SQLNativeSqlW(database.get(), odbc::wide(probe.data()),
                                       static_cast<SQLINTEGER>(probe.size()), odbc::wide(returned),
                                       static_cast<SQLINTEGER>(std::size(returned)), &length)) &&
           returned == probe;
}

// SQLite's driver goes on telling the columns as they were when a statement was compiled, whatever becomes of
// the table. Compiling anew costs it no round trip; a server refuses a statement that is out of date.
bool tellsColumnsAnew(const odbc::Database& database)
{
    char16_t product[64] = {};
    SQLGetInfoW(database.get(), SQL_DBMS_NAME, product, sizeof product, nullptr);
    return std::u16string_view(product) != u"SQLite";
}

bool isAscii(std::u16string_view text)
{
    return std::all_of(text.begin(), text.end(), [](char16_t c) { return c < 128; });
}

RuntimeError refused(std::u16string_view why)
{
    return {ado::statementFailed, std::u16string(why), std::u16string(odbc::source)};
}

} // namespace

std::shared_ptr<Session> openOdbc(const OpenRequest& request)
{
    return std::make_shared<OdbcSession>(odbc::connectionText(request), request.timeLimit);
}

OdbcSession::OdbcSession(const std::u16string& connectionText, std::int32_t timeLimit)
    : environment_(SQL_NULL_HANDLE)
{
    SQLSetEnvAttr(environment_.get(), SQL_ATTR_ODBC_VERSION, odbc::number(SQL_OV_ODBC3), 0);
    database_ = odbc::Database(environment_.get());
    SQLSetConnectAttr(database_.get(), SQL_ATTR_LOGIN_TIMEOUT,
                      odbc::number(static_cast<std::uintptr_t>(timeLimit)), 0);
    SQLSetConnectAttr(database_.get(), SQL_ATTR_ACCESS_MODE, odbc::number(SQL_MODE_READ_ONLY), 0);
    if (!SQL_SUCCEEDED(SQLDriverConnectW(database_.get(), nullptr, odbc::wide(connectionText.data()),
                                         static_cast<SQLSMALLINT>(connectionText.size()), nullptr, 0, nullptr,
                                         SQL_DRIVER_NOPROMPT)))
        throw odbc::openFailure(database_);
    isOpen_ = true;
    takesWideText_ = takesWideText(database_);
    statementsKept_ = tellsColumnsAnew(database_) ? statementsKept : 0;
}

void OdbcSession::close() noexcept
{
    statements_.clear();
    if (isOpen_)
        SQLDisconnect(database_.get());
    isOpen_ = false;
}

// A kept statement may be out of date when the schema has changed, and a database may want a literal where
// another takes a parameter. So a statement that is refused is tried in the next form, and the last form's
// failure counts.
CursorOwner OdbcSession::run(std::u16string_view text, std::int32_t timeLimit)
{
    if (!takesWideText_ && !isAscii(text))
        throw refused(u"The ODBC driver takes no text beyond ASCII; its Unicode variant does.");
    for (const auto form : {&OdbcSession::runKept, &OdbcSession::runWithParameters}) {
        try {
            if (CursorOwner cursor = (this->*form)(text, timeLimit))
                return cursor;
        } catch (const RuntimeError& error) {
            if (error.number != ado::statementFailed)
                throw;
        }
    }
    if (text.find(u'\0') != text.npos)
        throw refused(u"The statement holds a character of code 0.");
    return runNew(StatementShape::asItIs(text), text, timeLimit);
}

// Null when there is no such statement.
CursorOwner OdbcSession::runKept(std::u16string_view text, std::int32_t timeLimit)
{
    const auto kept = std::find_if(statements_.begin(), statements_.end(), [&](const auto& statement) {
        return statement->shape().matches(text, literals_);
    });
    if (kept == statements_.end())
        return nullptr;
    try {
        return (*kept)->run(literals_, timeLimit);
    } catch (...) {
        statements_.erase(kept);
        throw;
    }
}

// Null when the statement has no values, or would mean something else with parameters.
CursorOwner OdbcSession::runWithParameters(std::u16string_view text, std::int32_t timeLimit)
{
    StatementShape shape = StatementShape::of(text);
    return shape.parameterCount() > 0 ? runNew(std::move(shape), text, timeLimit) : nullptr;
}

CursorOwner OdbcSession::runNew(StatementShape shape, std::u16string_view text, std::int32_t timeLimit)
{
    shape.matches(text, literals_);
    auto statement = std::make_unique<OdbcStatement>(database_, std::move(shape), takesWideText_);
    CursorOwner cursor = statement->run(literals_, timeLimit);
    if (statement->shape().parameterCount() > 0 && cursor->columns().anyHolds(u'?'))
        return nullptr; // a column without an alias is called after its text
    statements_.push_back(std::move(statement));
    if (statements_.size() > statementsKept_)
        statements_.erase(statements_.begin());
    return cursor;
}

} // namespace vqloan
