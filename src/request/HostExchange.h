// One exchange of files with the legacy host: a request is written, its answer waited for.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vqloan {

// Every file is opened under number 1. While an exchange waits, the thread's pending events run, and another
// call may enter and begin an exchange over the same two files. It would delete the answer that is waited for
// and leave its own in its place, so it first sees the waiting exchange through to its answer or its limit.
class HostExchange
{
public:
    // Files that differ only in their extension; `limit` in seconds.
    HostExchange(std::u16string requestFile, std::u16string answerFile, double limit);
    ~HostExchange();
    HostExchange(const HostExchange&) = delete;
    HostExchange& operator=(const HostExchange&) = delete;

    // The first line of the answer, or nothing when the host has not answered within the limit. A
    // RuntimeError when the request cannot be written; failures to open or read the answer are part of the
    // waiting.
    std::optional<std::u16string> ask(std::u16string_view line);

private:
    enum class Look
    {
        answered,
        notThere,
        noLineYet
    };

    void send(std::u16string_view line);
    Look look();
    bool over() const;
    void seeThrough();

    std::u16string requestFile_, answerFile_;
    double limit_;
    double start_ = 0;
    std::optional<std::u16string> answer_;
};

} // namespace vqloan
