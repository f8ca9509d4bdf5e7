#include "platform/ado/sqlite/SqliteStatement.h"

#include <sqlite3.h>

#include <algorithm>

#include "platform/ado/DateValue.h"
#include "platform/ado/sqlite/SqliteFailure.h"
#include "platform/ado/sqlite/SqliteSession.h"
#include "platform/runtime/Text.h"

namespace vqloan {

namespace {

// A literal's value in UTF-8. Nearly all are codes and numbers in ASCII, which only need narrowing.
void toValue(std::u16string_view literal, std::string& value)
{
    value.resize(literal.size());
    unsigned all = 0;
    for (std::size_t i = 0; i < literal.size(); ++i) {
        value[i] = static_cast<char>(literal[i]);
        all |= literal[i] == u'\'' ? 0x80u : literal[i];
    }
    if (all >= 0x80)
        value = text::toUtf8(unquoted(literal));
}

Variant textVariant(std::string_view utf8)
{
    unsigned all = 0;
    for (const char c : utf8)
        all |= static_cast<unsigned char>(c);
    if (all >= 0x80)
        return text::fromUtf8(utf8);
    const BSTR wide = SysAllocStringLen(nullptr, static_cast<UINT>(utf8.size()));
    if (!wide)
        throw RuntimeError(Failure::OutOfMemory);
    std::transform(utf8.begin(), utf8.end(), wide, [](char c) { return static_cast<OLECHAR>(c); });
    Variant result;
    result.address()->vt = VT_BSTR;
    result.address()->bstrVal = wide;
    return result;
}

// Declarations go on freely after the type's name: "TIMESTAMP(6)", "DATE NOT NULL".
bool isDateType(const char* declaration)
{
    if (!declaration)
        return false;
    const std::string_view declared(declaration);
    const std::string_view name = declared.substr(0, declared.find_first_of(" ("));
    return sqlite3_stricmp(std::string(name).c_str(), "DATE") == 0 ||
           sqlite3_stricmp(std::string(name).c_str(), "DATETIME") == 0 ||
           sqlite3_stricmp(std::string(name).c_str(), "TIMESTAMP") == 0;
}

} // namespace

SqliteStatement::SqliteStatement(SqliteSession& session, std::u16string_view text)
    : session_(session), shape_(StatementShape::of(text))
{
    if (shape_.parameterCount() > 0) {
        // A statement may mean something else with parameters: an index that is named in it may not serve
        // them, and a column without an alias is called after its text. Then it is compiled as it is.
        try {
            compile(shape_.withParameters());
            if (!columns_.anyHolds(u'?'))
                return;
        } catch (const RuntimeError&) {
        }
        finalize();
        shape_ = StatementShape::asItIs(text);
    }
    compile(text);
}

void SqliteStatement::compile(std::u16string_view text)
{
    if (text.find(u'\0') != text.npos)
        throw sqlite::statementFailure(u"The statement holds a character of code 0.");
    const std::string statement = text::toUtf8(text);
    const char* rest = nullptr;
    sqlite3_stmt* compiled = nullptr;
    const int result =
        sqlite3_prepare_v3(session_.database_, statement.c_str(), static_cast<int>(statement.size() + 1),
                           SQLITE_PREPARE_PERSISTENT, &compiled, &rest);
    handle_.reset(compiled);
    if (result != SQLITE_OK)
        throw sqlite::statementFailure(session_.database_);
    if (!handle_)
        throw sqlite::statementFailure(u"The statement is empty.");
    // SQLite compiles the first statement of several and would leave the others out without a word.
    if (std::string_view(rest).find_first_not_of(" \t\r\n;") != std::string_view::npos)
        throw sqlite::statementFailure(u"Text follows the end of the statement.");
    values_.resize(shape_.parameterCount());
    describe();
}

void SqliteStatement::describe()
{
    const int count = sqlite3_column_count(handle_.get());
    std::vector<std::u16string> names;
    holdsDates_.clear();
    for (int i = 0; i < count; ++i) {
        const char* name = sqlite3_column_name(handle_.get(), i);
        if (!name)
            throw RuntimeError(Failure::OutOfMemory);
        names.push_back(text::fromUtf8(name));
        holdsDates_.push_back(isDateType(sqlite3_column_decltype(handle_.get(), i)));
    }
    columns_.assign(names);
}

CursorOwner SqliteStatement::begin(std::int32_t timeLimit) noexcept
{
    running_ = true;
    stepped_ = false;
    timeLimit_ = timeLimit;
    return CursorOwner(this);
}

void SqliteStatement::bind(const std::vector<std::u16string_view>& literals)
{
    for (std::size_t i = 0; i < values_.size(); ++i) {
        toValue(literals[i], values_[i]);
        if (sqlite3_bind_text(handle_.get(), static_cast<int>(i + 1), values_[i].data(),
                              static_cast<int>(values_[i].size()), SQLITE_STATIC) != SQLITE_OK)
            throw sqlite::statementFailure(session_.database_);
    }
}

bool SqliteStatement::next()
{
    session_.limit_.set(timeLimit_);
    const int result = sqlite3_step(handle_.get());
    if (result != SQLITE_ROW && result != SQLITE_DONE) {
        failed_ = true;
        throw sqlite::statementFailure(session_.database_);
    }
    if (!stepped_) {
        stepped_ = true;
        // When the schema has changed meanwhile, SQLite has compiled the statement again, perhaps to other
        // columns.
        const int recompilations = sqlite3_stmt_status(handle_.get(), SQLITE_STMTSTATUS_REPREPARE, 0);
        if (recompilations != recompilations_) {
            recompilations_ = recompilations;
            describe();
        }
    }
    return result == SQLITE_ROW;
}

Variant SqliteStatement::value(std::size_t column)
{
    const int at = static_cast<int>(column);
    // The pointer first, the size after it: the pointer's call may convert the value.
    switch (sqlite3_column_type(handle_.get(), at)) {
    case SQLITE_NULL:
        return Variant::null();
    case SQLITE_INTEGER:
        return Variant::integer(sqlite3_column_int64(handle_.get(), at));
    case SQLITE_FLOAT:
        return sqlite3_column_double(handle_.get(), at);
    case SQLITE_TEXT: {
        const char* bytes = reinterpret_cast<const char*>(sqlite3_column_text(handle_.get(), at));
        if (!bytes)
            throw RuntimeError(Failure::OutOfMemory);
        const std::string_view utf8(bytes, static_cast<std::size_t>(sqlite3_column_bytes(handle_.get(), at)));
        if (holdsDates_[column]) {
            if (const auto days = dateFromIso(utf8))
                return Variant::fromDate(*days);
        }
        return textVariant(utf8);
    }
    default: {
        const char* bytes = static_cast<const char*>(sqlite3_column_blob(handle_.get(), at));
        const std::string_view blob(bytes ? bytes : "",
                                    static_cast<std::size_t>(sqlite3_column_bytes(handle_.get(), at)));
        return text::fromBytes(blob);
    }
    }
}

void SqliteStatement::end() noexcept
{
    sqlite3_reset(handle_.get());
    running_ = false;
    session_.returned(*this);
}

void sqlite::Finalize::operator()(sqlite3_stmt* handle) const noexcept
{
    sqlite3_finalize(handle);
}

} // namespace vqloan
