// One exchange of files with the legacy host: a request is written, its answer waited for.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vqloan {

// While an exchange waits, the thread's pending events run, and one of them may begin another exchange. Over
// the same two files it would delete the answer that the first one waits for. So it first waits for that
// answer itself, until it is there or the first exchange's limit has passed, and events go on running. Every
// file is opened under number 1.
class HostExchange
{
public:
    // Files that differ only in their extension; `limit` in seconds.
    HostExchange(std::u16string requestFile, std::u16string answerFile, double limit);
    ~HostExchange();
    HostExchange(const HostExchange&) = delete;
    HostExchange& operator=(const HostExchange&) = delete;

    // The first line of the answer, or nothing when the host has not answered within the limit. A
    // RuntimeError when the request cannot be written. An answer that cannot be opened or read is waited for.
    std::optional<std::u16string> ask(std::u16string_view line);

private:
    using Waiting = std::vector<HostExchange*>;
    enum class Look
    {
        answered,
        notThere,
        noLineYet
    };

    void send(std::u16string_view line);
    Look look();
    bool over() const;
    void waitOn();
    bool usesFilesOf(const HostExchange& other) const;

    Waiting& waiting_; // the exchanges that this thread waits for, the outermost first
    std::u16string requestFile_, answerFile_;
    double limit_;
    double start_ = 0;
    std::optional<std::u16string> answer_;
};

} // namespace vqloan
