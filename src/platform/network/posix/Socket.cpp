#include "platform/network/Socket.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>

namespace vqloan::network {

namespace {

// Clients that wait while nobody accepts.
constexpr int backlog = 511;

void setOption(int handle, int level, int option) noexcept
{
    const int on = 1;
    setsockopt(handle, level, option, &on, sizeof on);
}

void makeWaitless(int handle) noexcept
{
    fcntl(handle, F_SETFL, fcntl(handle, F_GETFL) | O_NONBLOCK);
    fcntl(handle, F_SETFD, FD_CLOEXEC);
}

using Call = int (*)(int, sockaddr*, socklen_t*);

// Host and port of one of the two ends, in numbers.
std::pair<std::string, std::string> endOf(int handle, Call call)
{
    sockaddr_storage address = {};
    socklen_t size = sizeof address;
    char host[NI_MAXHOST] = "", port[NI_MAXSERV] = "";
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    if (call(handle, generic, &size) == 0)
        getnameinfo(generic, size, host, sizeof host, port, sizeof port, NI_NUMERICHOST | NI_NUMERICSERV);
    return {host, port};
}

// The handle of one that listens there, or -1 and errno.
int listenAt(const addrinfo& place) noexcept
{
    const int handle = socket(place.ai_family, place.ai_socktype, place.ai_protocol);
    if (handle < 0)
        return -1;
    setOption(handle, SOL_SOCKET, SO_REUSEADDR); // connections of a server that has just ended bar nobody
    makeWaitless(handle);
    if (bind(handle, place.ai_addr, place.ai_addrlen) == 0 && listen(handle, backlog) == 0)
        return handle;
    const int error = errno;
    close(handle);
    errno = error;
    return -1;
}

std::chrono::milliseconds left(Clock::time_point deadline) noexcept
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    return std::max(left, std::chrono::milliseconds(0));
}

} // namespace

Socket::~Socket()
{
    if (handle_ >= 0)
        close(handle_);
}

Socket::Received Socket::receive(std::string& buffer, std::size_t most)
{
    const std::size_t before = buffer.size();
    buffer.resize(before + most);
    ssize_t size;
    do
        size = recv(handle_, buffer.data() + before, most, 0);
    while (size < 0 && errno == EINTR);
    buffer.resize(before + static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    if (size > 0)
        return Received::bytes;
    return size < 0 && (errno == EAGAIN || errno == EWOULDBLOCK) ? Received::nothing : Received::end;
}

std::size_t Socket::send(std::string_view bytes, Clock::time_point deadline) noexcept
{
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t size = ::send(handle_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (size >= 0) {
            sent += static_cast<std::size_t>(size);
            continue;
        }
        if (errno == EINTR)
            continue;
        if (errno != EAGAIN && errno != EWOULDBLOCK)
            break;
        pollfd one = {handle_, POLLOUT, 0};
        const int ready = poll(&one, 1, static_cast<int>(left(deadline).count()));
        if (ready == 0 || (ready < 0 && errno != EINTR))
            break;
    }
    return sent;
}

void Socket::endSending() noexcept
{
    shutdown(handle_, SHUT_WR);
}

std::string Socket::peer() const
{
    return endOf(handle_, getpeername).first;
}

Listener::Listener(const std::string& address)
{
    const auto colon = address.rfind(':');
    if (colon == address.npos || colon == 0)
        throw std::runtime_error("no address to listen on: " + address +
                                 "; expected is HOST:PORT, as 127.0.0.1:8080 or [::1]:8080");
    std::string host = address.substr(0, colon);
    if (host.starts_with('[') && host.ends_with(']'))
        host = host.substr(1, host.size() - 2);
    addrinfo wanted = {};
    wanted.ai_flags = AI_PASSIVE | AI_NUMERICSERV;
    wanted.ai_socktype = SOCK_STREAM;
    addrinfo* places = nullptr;
    const int failed = getaddrinfo(host.c_str(), address.c_str() + colon + 1, &wanted, &places);
    std::string reason = failed ? gai_strerror(failed) : "";
    for (const addrinfo* place = places; !failed && place && handle_ < 0; place = place->ai_next)
        if ((handle_ = listenAt(*place)) < 0)
            reason = std::strerror(errno);
    if (places)
        freeaddrinfo(places);
    if (handle_ < 0)
        throw std::runtime_error("cannot listen on " + address + ": " + reason);
}

Listener::~Listener()
{
    close(handle_);
}

std::string Listener::address() const
{
    auto [host, port] = endOf(handle_, getsockname);
    if (host.find(':') != host.npos)
        host = '[' + host + ']';
    return host + ':' + port;
}

std::optional<Socket> Listener::accept() noexcept
{
    const int handle = ::accept(handle_, nullptr, nullptr);
    if (handle < 0)
        return std::nullopt;
    makeWaitless(handle);
    setOption(handle, IPPROTO_TCP, TCP_NODELAY); // what is written is a whole answer, or a whole piece of one
    return Socket(handle);
}

Watch::Watch()
{
    if (pipe(pipe_) != 0)
        throw std::system_error(errno, std::generic_category(), "pipe");
    for (const int end : pipe_)
        makeWaitless(end);
}

Watch::~Watch()
{
    for (const int end : pipe_)
        close(end);
}

Watch::Ready Watch::wait(const Listener* listener, const std::vector<const Socket*>& sockets,
                         std::chrono::milliseconds limit)
{
    std::vector<pollfd> all;
    all.reserve(sockets.size() + 2);
    all.push_back({pipe_[0], POLLIN, 0});
    all.push_back({listener ? listener->handle_ : -1, POLLIN, 0});
    for (const Socket* const socket : sockets)
        all.push_back({socket->handle_, POLLIN, 0});
    Ready ready;
    if (poll(all.data(), all.size(), static_cast<int>(limit.count())) <= 0)
        return ready;
    char waste[64];
    if (all[0].revents)
        while (read(pipe_[0], waste, sizeof waste) > 0)
            ;
    ready.listener = all[1].revents != 0;
    for (std::size_t i = 2; i < all.size(); ++i)
        if (all[i].revents)
            ready.sockets.push_back(i - 2);
    return ready;
}

void Watch::wake() noexcept
{
    // A pipe that is full wakes it all the same.
    [[maybe_unused]] const ssize_t written = write(pipe_[1], "", 1);
}

} // namespace vqloan::network
