#include "platform/ado/odbc/OdbcSession.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "platform/ado/AdoFailure.h"
#include "platform/ado/odbc/OdbcConnectionText.h"
#include "platform/ado/odbc/OdbcFailure.h"
#include "platform/runtime/Text.h"

namespace vqloan {

namespace {

// The component runs four shapes.
constexpr std::size_t statementsKept = 16;

bool isAscii(std::u16string_view text)
{
    return std::all_of(text.begin(), text.end(), [](char16_t c) { return c < 128; });
}

// Such a value means itself in every server's literals.
bool isPlain(std::u16string_view value)
{
    return std::all_of(value.begin(), value.end(), [](char16_t c) {
        return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') ||
               std::u16string_view(u" -./_").find(c) != std::u16string_view::npos;
    });
}

// What goes to a server as a statement's text is read alike by all of them.
bool isPortable(std::u16string_view statement)
{
    return std::all_of(statement.begin(), statement.end(), [](char16_t c) {
        return (c >= u' ' && c < 127 && c != u'\\') || c == u'\t' || c == u'\r' || c == u'\n';
    });
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
    if (!std::in_range<SQLSMALLINT>(connectionText.size()))
        throw RuntimeError(ado::malformedConnectionText, u"The connection text is too long for ODBC.",
                           std::u16string(odbc::source));
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
    try {
        product_ = odbc::productOf(database_);
    } catch (...) {
        close();
        throw;
    }
}

void OdbcSession::close() noexcept
{
    statements_.clear();
    if (isOpen_)
        SQLDisconnect(database_.get());
    isOpen_ = false;
}

// A kept statement may be out of date when the schema has changed, and a database may want a literal where
// another takes a parameter. So a statement whose form is refused is tried in the next form, and the last
// form's failure counts.
CursorOwner OdbcSession::run(std::u16string_view text, std::int32_t timeLimit)
{
    if (!product_.takesWideText && !isAscii(text))
        throw refused(u"The ODBC driver takes no text beyond ASCII; its Unicode variant does.");
    std::optional<odbc::DriverFailure> refusal;
    for (const auto form :
         {&OdbcSession::runKept, &OdbcSession::runWithParameters, &OdbcSession::runAsText}) {
        try {
            if (CursorOwner cursor = (this->*form)(text, timeLimit))
                return cursor;
        } catch (const odbc::DriverFailure& failure) {
            if (failure.isCharacterLackedFor(sentValues()))
                return CursorOwner(new OdbcResult());
            if (failure.cause != odbc::DriverFailure::Cause::form)
                throw;
            refusal = failure;
        }
    }
    if (refusal)
        throw *refusal;
    throw refused(u"A value that is not plain text cannot be sent here.");
}

std::vector<std::u16string> OdbcSession::sentValues() const
{
    std::vector<std::u16string> values(literals_.size());
    std::transform(literals_.begin(), literals_.end(), values.begin(), sentValue);
    return values;
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

// Null when one of its values must not be sent so.
CursorOwner OdbcSession::runAsText(std::u16string_view text, std::int32_t timeLimit)
{
    StatementShape::of(text).matches(text, literals_);
    if (!std::all_of(literals_.begin(), literals_.end(), isPlain))
        return nullptr;
    return runNew(StatementShape::asItIs(text), text, timeLimit);
}

CursorOwner OdbcSession::runNew(StatementShape shape, std::u16string_view text, std::int32_t timeLimit)
{
    if (!isPortable(shape.withParameters()))
        throw refused(u"The statement holds a backslash or another character that servers read differently.");
    shape.matches(text, literals_);
    auto statement = std::make_unique<OdbcStatement>(database_, std::move(shape), product_);
    CursorOwner cursor = statement->run(literals_, timeLimit);
    if (statement->shape().parameterCount() > 0 && cursor->columns().anyHolds(u'?'))
        return nullptr; // a column without an alias is called after its text
    if (product_.keepsStatements) {
        if (statements_.size() == statementsKept)
            statements_.erase(statements_.begin());
        statements_.push_back(std::move(statement));
    }
    return cursor;
}

} // namespace vqloan
