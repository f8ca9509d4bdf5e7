// The answering side of an exchange directory: a client writes its request line into PREFIX + client +
// ".CL1", and reads the answer line from PREFIX + client + ".CL2". Both are in the single-byte code page, one
// line ended by CR LF.
#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <system_error>

namespace vqloan::client {

// Promises that a request is answered once, that no request is answered before its line is whole, and that an
// answer file appears whole: it is written aside and then renamed. Requests that lie there when serving
// begins are dropped: nobody waits for them any more, and a late answer would be taken for that of the
// client's next question.
class Exchange
{
public:
    // Gives the answer line, without its line end, for a request line. `whole` is false for a line that its
    // client never ended.
    using Answerer = std::function<std::u16string(std::u16string_view request, bool whole)>;

    // `delay`: the least time before an answer, as a slow back end has. Throws std::runtime_error when the
    // directory is not there.
    Exchange(std::filesystem::path directory, std::u16string_view prefix, std::chrono::milliseconds delay);

    // Says on standard output that it serves, answers until the process is told to end (SIGTERM or SIGINT),
    // says how many requests were answered. `verbose`: each request and its answer, too. Troubles with files
    // go to standard error and end nothing.
    void serve(const Answerer& answerer, bool verbose);

private:
    using Clock = std::chrono::steady_clock;

    void takeRequests();
    void answerTaken(const Answerer& answerer, bool verbose);
    bool answerOne(const std::string& client, Clock::time_point taken, const Answerer& answerer,
                   bool verbose);
    void complain(const std::filesystem::path& file, std::error_code reason);
    void complain(const std::string& trouble);
    std::filesystem::path fileOf(const std::string& client, const std::string& extension) const;

    std::filesystem::path directory_;
    std::string prefix_;
    std::chrono::milliseconds delay_;
    std::map<std::string, Clock::time_point> taken_; // by client: its request lies aside since then
    std::size_t answered_ = 0;
    std::string lastTrouble_;
};

} // namespace vqloan::client
