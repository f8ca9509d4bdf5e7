#include "platform/ado/sqlite/SqliteSession.h"

#include <sqlite3.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <limits>
#include <thread>

#include "external/Ado.h"
#include "platform/ado/AdoFailure.h"
#include "platform/ado/sqlite/SqliteFailure.h"
#include "platform/ado/sqlite/SqliteStatement.h"
#include "platform/runtime/Clock.h"
#include "platform/runtime/Text.h"

namespace vqloan {

namespace {

// The component runs four shapes; the rest is room for recordsets that are open at the same time.
constexpr std::size_t statementsKept = 16;
// Virtual-machine steps between two looks at the clock; well under a millisecond of work.
constexpr int stepsBetweenLooks = 10000;
// For so many milliseconds a transaction is kept while statements follow each other.
constexpr std::int64_t longestKept = 50;

// SQLite counts its memory under one lock, which threads with an object each would queue for at every value.
// It is told when this module is loaded, so that a client that wants the figures can still ask for them;
// where the client has used SQLite before, it refuses, and all is as the client has it.
[[maybe_unused]] const int uncounted = sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0);

// None also where the file cannot be asked about: such a one is not known to be the same.
std::optional<os::FileState> stateOf(const std::u16string& path)
{
    try {
        return os::stateOf(path);
    } catch (const RuntimeError&) {
        return std::nullopt;
    }
}

} // namespace

std::shared_ptr<Session> openSqlite(const OpenRequest& request)
{
    const std::u16string* file = request.connection.find(u"Data Source");
    if (!file || file->empty() || file->find(u'\0') != file->npos)
        throw RuntimeError(ado::connectionFailed,
                           u"The connection text names no database file: Data Source= is missing.",
                           std::u16string(sqlite::source));
    return std::make_shared<SqliteSession>(*file, request.timeLimit);
}

SqliteSession::SqliteSession(const std::u16string& file, std::int32_t timeLimit)
{
    // Looked at before SQLite opens it: a file that is replaced in between counts as replaced.
    const std::filesystem::path native = os::nativePath(file);
    std::error_code unknown; // the working directory, and then SQLite finds no file either
    const std::u16string path = os::pathText(std::filesystem::absolute(native, unknown));
    opened_ = stateOf(path);
    // Objects belong to one thread, so SQLite need not lock.
    const int opened =
        sqlite3_open_v2(native.c_str(), &database_,
                        SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE, nullptr);
    try {
        if (opened != SQLITE_OK)
            throw sqlite::openFailure(database_, file);
        sqlite3_busy_handler(database_, whileLocked, this);
        sqlite3_progress_handler(database_, stepsBetweenLooks, whileRunning, this);
        limit_.set(timeLimit);
        // Opening alone reads nothing of the file.
        if (sqlite3_exec(database_, "SELECT 1 FROM sqlite_master LIMIT 1", nullptr, nullptr, nullptr) !=
            SQLITE_OK)
            throw sqlite::openFailure(database_, file);
        begin_ = compile("BEGIN");
        commit_ = compile("COMMIT");
        if (*sqlite3_db_filename(database_, "main") != '\0')
            path_ = path;
    } catch (...) {
        close();
        throw;
    }
}

sqlite::Handle SqliteSession::compile(const char* statement)
{
    sqlite3_stmt* handle = nullptr;
    if (sqlite3_prepare_v3(database_, statement, -1, SQLITE_PREPARE_PERSISTENT, &handle, nullptr) !=
        SQLITE_OK)
        throw sqlite::statementFailure(database_);
    return sqlite::Handle(handle);
}

SqliteSession::~SqliteSession()
{
    close();
}

void SqliteSession::close() noexcept
{
    for (const auto& statement : statements_)
        statement->finalize();
    begin_.reset();
    commit_.reset();
    sqlite3_close(database_);
    database_ = nullptr;
    OneState::forget(*this);
}

CursorOwner SqliteSession::run(std::u16string_view text, std::int32_t timeLimit)
{
    limit_.set(timeLimit); // compiling reads the schema and may meet a lock
    SqliteStatement& statement = idleStatement(text);
    beginReading();
    CursorOwner cursor = statement.begin(timeLimit);
    statement.bind(literals_);
    return cursor;
}

// The path is asked about, and not what SQLite has opened: it may be a link that now leads elsewhere.
void SqliteSession::requireSameFile() const
{
    if (path_.empty())
        return;
    const auto now = stateOf(path_);
    if (!now || !opened_ || !now->isSameFile(*opened_))
        throw RuntimeError(ado::connectionFailed,
                           u"The database file has been replaced or deleted since it was opened.",
                           std::u16string(sqlite::source));
}

void SqliteSession::beginReading()
{
    if (running_ == 0) {
        if (isInTransaction() && clock::milliseconds() - begun_ >= longestKept)
            endTransaction();
        if (!isInTransaction())
            beginTransaction();
    }
    ++running_;
}

void SqliteSession::endReading() noexcept
{
    if (--running_ == 0 && !kept_)
        endTransaction();
}

void SqliteSession::callEnded() noexcept
{
    kept_ = false;
    if (running_ == 0)
        endTransaction();
}

// Asked of SQLite, which ends one by itself after some failures.
bool SqliteSession::isInTransaction() const noexcept
{
    return isOpen() && !sqlite3_get_autocommit(database_);
}

// A transaction that has read nothing yet holds no lock, and one that only reads has nothing to lose.
void SqliteSession::beginTransaction()
{
    requireSameFile();
    kept_ = OneState::keeps(*this);
    begun_ = clock::milliseconds();
    sqlite3_step(begin_.get());
    sqlite3_reset(begin_.get());
}

void SqliteSession::endTransaction() noexcept
{
    if (!isInTransaction())
        return;
    sqlite3_step(commit_.get());
    sqlite3_reset(commit_.get());
}

SqliteStatement& SqliteSession::idleStatement(std::u16string_view text)
{
    auto found = std::find_if(statements_.begin(), statements_.end(), [&](const auto& statement) {
        return !statement->isRunning() && statement->shape().matches(text, literals_);
    });
    if (found == statements_.end()) {
        statements_.push_back(std::make_unique<SqliteStatement>(*this, text));
        found = statements_.end() - 1;
        (*found)->shape().matches(text, literals_);
    }
    return **found;
}

void SqliteSession::returned(SqliteStatement& statement) noexcept
{
    endReading();
    auto unwanted = statements_.end();
    if (statement.hasFailed())
        unwanted = std::find_if(statements_.begin(), statements_.end(),
                                [&](const auto& candidate) { return candidate.get() == &statement; });
    else if (statements_.size() > statementsKept)
        unwanted = std::find_if(statements_.begin(), statements_.end(),
                                [](const auto& candidate) { return !candidate->isRunning(); });
    if (unwanted != statements_.end())
        statements_.erase(unwanted);
}

void SqliteSession::TimeLimit::set(std::int32_t seconds) noexcept
{
    seconds_ = seconds;
    started_ = false;
}

double SqliteSession::TimeLimit::left() noexcept
{
    if (seconds_ == 0)
        return std::numeric_limits<double>::infinity();
    const double now = clock::seconds();
    if (!started_) {
        started_ = true;
        end_ = now + seconds_;
    }
    return end_ - now;
}

int SqliteSession::whileLocked(void* session, int tries)
{
    const double left = static_cast<SqliteSession*>(session)->limit_.left();
    if (left <= 0)
        return 0;
    const double pause = 0.001 * (1 << std::min(tries, 5));
    std::this_thread::sleep_for(std::chrono::duration<double>(std::min(pause, left)));
    return 1;
}

int SqliteSession::whileRunning(void* session)
{
    return static_cast<SqliteSession*>(session)->limit_.left() <= 0;
}

} // namespace vqloan
