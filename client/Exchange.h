// The answering side's files in an exchange directory: a client writes its request line into PREFIX + client
// +
// ".CL1", and reads the answer line from PREFIX + client + ".CL2". Both are in the single-byte code page, one
// line ended by CR LF.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/program/FileLock.h"
#include "platform/runtime/OsFile.h"

namespace vqloan::client {

// Clients, servers and strangers share the directory. So this promises, for any number of threads:
// - one server at a time serves a prefix in a directory;
// - a request is taken once, and one that lies there when serving begins is dropped, and so is any answer:
// their
//   clients have given up, and would take a late answer for that of their next question;
// - an answer appears whole, and only while its client still waits for it: not when it has asked again
//   meanwhile, nor when the request is older than clients wait;
// - no link is followed, nothing but a regular file is opened, and what a stranger puts there stops nobody.
class Exchange
{
public:
    using Clock = std::chrono::steady_clock;

    // Throws std::runtime_error when the directory is not there, cannot be written to or is served already.
    Exchange(std::filesystem::path directory, std::u16string_view prefix);
    // Leaves nothing behind but answers that lie there.
    ~Exchange();
    // The same before the end, whatever other threads do with it.
    void abandon() noexcept;
    Exchange(const Exchange&) = delete;
    Exchange& operator=(const Exchange&) = delete;

    // A request that was taken. It lies in a directory that is this server's alone.
    struct Request
    {
        std::string client;
        std::uint64_t number = 0; // of all that were taken
        std::filesystem::path file;
        Clock::time_point taken;
        std::optional<os::FileState> asker; // of the lock that `vqloan ask` holds while it asks
        std::int64_t written = 0; // by the directory's own clock, in nanoseconds; known once it was read
    };

    // The client whose request has this file name; nothing for other files.
    std::optional<std::string> clientOf(std::string_view fileName) const;
    // The clients whose requests lie there, the one that has waited longest first. Throws std::system_error.
    std::vector<std::string> waiting() const;
    // Nothing when it is not there any more, or when its client is still writing it (Windows keeps it in its
    // place then). Throws for what is no request and cannot be taken away.
    std::optional<Request> take(const std::string& client);
    struct Line
    {
        std::string bytes;  // without its end
        bool whole = false; // its client has ended it
    };
    // The first line as far as it is there. Throws when it cannot be read.
    Line read(Request& request) const;

    enum class Placed
    {
        answered,
        tooLate,    // the client has waited long enough to have given up
        askedAgain, // the client has given up: its next request is there
        gone        // it was `vqloan ask`, and has ended
    };
    // Puts the answer in its place, unless its client does not wait for it any more: then it is dropped.
    // Either way the request is done with. `wait`: how long clients wait. Throws when it cannot be written.
    Placed place(const Request& request, std::string_view line, std::chrono::milliseconds wait);
    // Done with, without an answer.
    void drop(const Request& request) noexcept;

    // Where requests are looked for, as a person reads it.
    std::string name() const;
    const std::filesystem::path& directory() const noexcept { return directory_; }

private:
    void begin();
    bool isBegun() const;
    void clear() const;
    void removeAnswer(const std::string& client) const;
    std::optional<os::FileState> askerOf(const std::string& client) const;
    bool isLatest(const Request& request) const;
    std::filesystem::path fileOf(const std::string& client, std::string_view extension) const;

    std::filesystem::path directory_;
    std::string prefix_;
    std::optional<program::FileLock> lock_;
    std::filesystem::path own_; // for requests that were taken, and for answers until they are whole
    std::mutex mutex_;          // taking and placing change what the other looks at
    std::uint64_t lastNumber_ = 0;
    std::map<std::string, std::uint64_t> latest_; // by client: the number of its request that is worked on
};

} // namespace vqloan::client
