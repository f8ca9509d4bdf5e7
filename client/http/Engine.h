// From a request's bytes to its answer's: the one place that knows the HTTP library.
#pragma once

#include <atomic>
#include <functional>
#include <memory>

#include "http/Http.h"
#include "http/RequestReader.h"
#include "platform/network/Socket.h"

namespace vqloan::client::http {

// For any number of threads.
class Engine
{
public:
    using Answer = std::function<Response(const Request&)>;
    // `answer` is called on the calling thread; what it throws becomes a 500.
    explicit Engine(Answer answer);
    ~Engine();

    struct Exchanged
    {
        int status = 0;
        std::size_t bytes = 0;
        bool whole = false; // the client has all of it, or will have with the rest
        std::string rest;   // what the client has no room for yet
    };
    // Answers one request; with `last` the client is told that the connection ends. The client may take
    // `patience` for each part of the answer; without any, what it does not take at once is the rest. When
    // the answer is there and somebody else has set `isTaken`, nothing is sent and the status is 0; otherwise
    // it is set then.
    Exchanged exchange(network::Socket& socket, const Incoming& incoming, bool last, Clock::duration patience,
                       std::atomic<bool>& isTaken);

private:
    class Library;
    std::unique_ptr<Library> library_;
};

} // namespace vqloan::client::http
