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
        std::string method, target;
        int status = 0;
        std::size_t bytes = 0;
        bool whole = false; // the client has taken all of it
    };
    // Answers one request; with `last` the client is told that the connection ends. When the answer is there
    // and somebody else has set `isTaken`, nothing is sent and the status is 0; otherwise it is set then.
    Exchanged exchange(network::Socket& socket, const std::string& peer, Incoming incoming, bool last,
                       std::atomic<bool>& isTaken);

private:
    class Library;
    std::unique_ptr<Library> library_;
};

} // namespace vqloan::client::http
