// A writer of the embedded database beside a client that asks without a pause: how many transactions it gets
// through and how long it waits for one at most. The client's calls show one state of the database each; the
// baselines are a client whose every copy is a transaction of its own, and no client at all.
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>

#include "Copies.h"
#include "LibraryFile.h"

namespace {

using namespace vqloan::bench;
using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr int held = 100'000;
constexpr int linesOfACall = 5000;
constexpr Seconds turn{5};

enum class Asks
{
    nothing,
    copies,
    calls
};

// Asks in a process of its own until it is destroyed, or the benchmark ends in whatever way.
class Client
{
public:
    Client(Asks asks, const LibraryFile& file) : answered_(newCounter())
    {
        const pid_t parent = getpid();
        process_ = fork();
        if (process_ != 0)
            return;
        const auto copies = anyCopies(20'000, held);
        const auto requests = requestsOf(copies, linesOfACall);
        Component component(file.connectionText());
        for (std::size_t i = 0; asks != Asks::nothing && getppid() == parent; ++i) {
            if (asks == Asks::calls)
                benchmark::DoNotOptimize(component.answers(requests[i % requests.size()]));
            else
                benchmark::DoNotOptimize(component.answer(copies[i % copies.size()]));
            *answered_ += asks == Asks::calls ? linesOfACall : 1;
        }
        _exit(0);
    }
    ~Client()
    {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
        munmap(answered_, sizeof *answered_);
    }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    long answered() const { return *answered_; }

private:
    static std::atomic<long>* newCounter()
    {
        void* const shared = mmap(nullptr, sizeof(std::atomic<long>), PROT_READ | PROT_WRITE,
                                  MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (shared == MAP_FAILED)
            throw std::runtime_error("no shared memory");
        return new (shared) std::atomic<long>(0);
    }

    std::atomic<long>* answered_; // lines
    pid_t process_ = 0;
};

void execute(sqlite3* database, const std::string& statement)
{
    check(sqlite3_exec(database, statement.c_str(), nullptr, nullptr, nullptr), database);
}

void measure(const char* mode, Asks asks, const char* name)
{
    const LibraryFile file(held);
    sqlite3* database = nullptr;
    check(sqlite3_open(file.path().c_str(), &database), database);
    sqlite3_busy_timeout(database, 60'000);
    // Without waiting for the disk: what is measured is the waiting for each other.
    execute(database, std::string("PRAGMA journal_mode=") + mode + "; PRAGMA synchronous=OFF");

    const Client client(asks, file);
    while (asks != Asks::nothing && client.answered() == 0)
        usleep(1000);
    const long before = client.answered();
    Seconds longest{};
    int transactions = 0;
    const auto start = Clock::now();
    while (Clock::now() - start < turn) {
        const auto begun = Clock::now();
        execute(database, "UPDATE POSSEDUTO SET COLLOCAZIONE='A " + std::to_string(transactions) +
                              "' WHERE CODBIB='B001' AND INVENTARIO='00000001'");
        longest = std::max(longest, Seconds(Clock::now() - begun));
        ++transactions;
    }
    const Seconds elapsed = Clock::now() - start;
    std::printf("%-6s  %-42s %10.0f %18.1f %15.0f\n", mode, name, transactions / elapsed.count(),
                1000 * longest.count(), static_cast<double>(client.answered() - before) / elapsed.count());
    std::fflush(stdout);
    sqlite3_close(database);
}

} // namespace

int main()
{
    std::printf("%-6s  %-42s %10s %18s %15s\n", "mode", "client", "writes/s", "longest wait, ms", "copies/s");
    for (const char* mode : {"DELETE", "WAL"}) {
        measure(mode, Asks::nothing, "none");
        measure(mode, Asks::copies, "a transaction for each statement");
        measure(mode, Asks::calls, "one state in a call of 5000 lines");
    }
}
