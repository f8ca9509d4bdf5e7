// The embedded database.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/ado/Provider.h"
#include "platform/ado/StatementShape.h"
#include "platform/ado/sqlite/SqliteHandle.h"
#include "platform/runtime/OsFile.h"

struct sqlite3;

namespace vqloan {

class SqliteStatement;

// Reads one database file, which other processes may write meanwhile. Compiled statements are kept by shape;
// the same shape can run several times at once. From the start of the first running statement to the end of
// the last, or of the client's call (see OneState), they all see the file in one state, and the file is
// locked once and not for each.
//
// SQLite would go on reading a file that has been replaced or deleted, whose copies are no longer the
// library's. Every statement fails then (connectionFailed), and the connection stays open: a client that is
// told that there is none would not learn why.
class SqliteSession final : public Session
{
public:
    // Opens the file and proves that it can be read.
    SqliteSession(const std::u16string& file, std::int32_t timeLimit);
    ~SqliteSession() override;

    CursorOwner run(std::u16string_view statement, std::int32_t timeLimit) override;
    void callEnded() noexcept override;
    bool isOpen() const noexcept override { return database_ != nullptr; }
    void close() noexcept override;

private:
    friend class SqliteStatement;

    // The time that one step may take. It starts when SQLite first asks, so that a step that neither waits
    // nor is long costs no look at the clock.
    class TimeLimit
    {
    public:
        void set(std::int32_t seconds) noexcept;
        // Seconds that are left; 0 or less when none are.
        double left() noexcept;

    private:
        double seconds_ = 0, end_ = 0;
        bool started_ = false;
    };

    void requireSameFile() const;
    static int whileLocked(void* session, int tries);
    static int whileRunning(void* session);

    sqlite::Handle compile(const char* statement);
    void beginReading();
    void endReading() noexcept;
    bool isInTransaction() const noexcept;
    void beginTransaction();
    void endTransaction() noexcept;
    SqliteStatement& idleStatement(std::u16string_view text);
    void returned(SqliteStatement& statement) noexcept;

    std::u16string path_;                 // absolute; empty for a database that is in no file
    std::optional<os::FileState> opened_; // what the path named then
    sqlite3* database_ = nullptr;
    sqlite::Handle begin_, commit_;
    std::size_t running_ = 0; // statements
    bool kept_ = false;       // the transaction, until the client's call is over
    std::int64_t begun_ = 0;  // the transaction, in milliseconds
    TimeLimit limit_;
    std::vector<std::unique_ptr<SqliteStatement>> statements_; // the oldest in front
    std::vector<std::u16string_view> literals_;                // of the statement that is about to run
};

} // namespace vqloan
