// Connections that clients open to this program. So far for POSIX only.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vqloan::network {

using Clock = std::chrono::steady_clock;

// A connection; closed at the end.
class Socket
{
public:
    ~Socket();
    Socket(Socket&& other) noexcept : handle_(std::exchange(other.handle_, -1)) {}
    Socket& operator=(Socket&& other) noexcept
    {
        std::swap(handle_, other.handle_);
        return *this;
    }

    enum class Received
    {
        bytes,
        nothing, // yet
        end      // the client has ended it, or it broke
    };
    // What is there, without waiting, behind what `buffer` holds: at most `most` bytes.
    Received receive(std::string& buffer, std::size_t most);
    // How many of the bytes are on their way; not all of them when the connection broke, or there was no room
    // for them by then because the client takes nothing.
    std::size_t send(std::string_view bytes, Clock::time_point deadline) noexcept;
    // Tells the client that nothing more comes.
    void endSending() noexcept;
    // The client's address, without its port.
    std::string peer() const;

private:
    friend class Listener;
    friend class Watch;
    explicit Socket(int handle) : handle_(handle) {}

    int handle_;
};

class Listener
{
public:
    // "127.0.0.1:8080", "[::1]:8080", "localhost:8080"; port 0 is one that is free. Throws
    // std::runtime_error, which says what is wrong with the address, or why it cannot be had.
    explicit Listener(const std::string& address);
    ~Listener();
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    // In numbers, with the port that it is.
    std::string address() const;
    // A client that waits; nothing when there is none, and when the system has no room for another.
    std::optional<Socket> accept() noexcept;

private:
    friend class Watch;
    int handle_ = -1;
};

// Waits for many connections at once. One thread waits; any may wake it.
class Watch
{
public:
    // Throws std::system_error.
    Watch();
    ~Watch();
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    struct Ready
    {
        bool listener = false;
        std::vector<std::size_t> sockets; // their places
    };
    // As soon as a client waits at the listener (null: nobody looks), or one of the sockets has bytes or has
    // ended, or somebody wakes it; at the latest when `limit` passes.
    Ready wait(const Listener* listener, const std::vector<const Socket*>& sockets,
               std::chrono::milliseconds limit);
    void wake() noexcept;

private:
    int pipe_[2];
};

} // namespace vqloan::network
