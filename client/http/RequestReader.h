// Finds one whole request in the bytes that a client sends.
#pragma once

#include <string>
#include <string_view>

#include "http/Http.h"

namespace vqloan::client::http {

// A request that is whole.
struct Incoming
{
    std::string method;
    std::string target;
    std::string body;
    bool isNew = false;     // HTTP/1.1, and so takes answers in pieces
    bool keepsOpen = false; // the client wants to go on
    Clock::time_point came; // as a whole
};

// Takes what is surely a request and nothing doubtful, on which a proxy in front may think otherwise: lines
// end in CR LF, a length is one number, and there is no other way to say where a body ends.
class RequestReader
{
public:
    enum class Step
    {
        more, // bytes are needed
        whole,
        refused
    };
    // Takes from the front of `bytes` what belongs to the request. To be called with all that has not been
    // taken, each time more of it has come.
    Step advance(std::string& bytes);

    bool hasHead() const noexcept { return hasHead_; }
    // True once, for a client that waits to be told to go on with the body.
    bool takeInvitation() noexcept { return std::exchange(invites_, false); }
    // After `whole`: the request; the reader begins anew.
    Incoming take();
    // After `refused`.
    const Refusal& refusal() const noexcept { return refusal_; }

private:
    Step refuse(int status, std::string description);
    Step readHead(std::string_view head);
    Step readRequestLine(std::string_view line);
    Step readHeader(std::string_view line);
    Step readLength(std::string_view digits);

    Incoming incoming_;
    Refusal refusal_;
    bool hasHead_ = false, invites_ = false, hasHost_ = false;
    std::size_t scanned_ = 0; // of what has come, without the end of the head
    std::optional<std::size_t> length_;
};

} // namespace vqloan::client::http
