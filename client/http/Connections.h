// The clients' connections: waits on all of them at once, and hands on the requests that are whole.
#pragma once

#include <atomic>
#include <functional>
#include <list>
#include <memory>
#include <mutex>

#include "http/AccessLog.h"
#include "http/RequestReader.h"
#include "platform/network/Socket.h"

namespace vqloan::client::http {

struct Connection
{
    explicit Connection(network::Socket s) : socket(std::move(s)), peer(socket.peer()) { ++all; }
    ~Connection() { --all; }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    inline static std::atomic<std::size_t> all = 0; // of this process, those being answered with the others
    network::Socket socket;
    const std::string peer;
    std::string bytes; // that have come and are not taken
    RequestReader reader;
    enum class State
    {
        idle,
        reading,
        leaving // has been refused: what it still sends is thrown away for a moment, so that it reads why
    } state = State::idle;
    Clock::time_point begun, deadline;
};

// A client that sends slowly, or half a request, costs a place here and no thread.
class Connections
{
public:
    // A whole request; the connection comes back with giveBack, or ends. False: there is no room for it.
    using Handler = std::function<bool(const std::shared_ptr<Connection>&, Incoming)>;

    Connections(network::Listener& listener, AccessLog& log, Handler handler);

    // Until `end` is called.
    void run();
    void end() noexcept;

    // From any thread: one whose request has been answered, for its next one.
    void giveBack(std::shared_ptr<Connection> connection);
    bool isEnding() const noexcept { return ending_; }

    struct Counts
    {
        std::atomic<std::size_t> open = 0, refused = 0;
    };
    const Counts& counts() const noexcept { return counts_; }

private:
    using Place = std::list<std::shared_ptr<Connection>>::iterator;

    void acceptAll();
    void takeBack();
    void read(Place place);
    void advance(Place place);
    void hand(Place place);
    void refuse(Place place, const Refusal& refusal);
    void forget(Place place);
    void tend();
    std::size_t held() const noexcept;

    network::Listener& listener_;
    AccessLog& log_;
    Handler handler_;
    network::Watch watch_;
    std::list<std::shared_ptr<Connection>> connections_;
    Clock::time_point acceptAgain_;
    std::mutex mutex_;
    std::list<std::shared_ptr<Connection>> returned_;
    std::atomic<bool> ending_ = false;
    Counts counts_;
};

} // namespace vqloan::client::http
