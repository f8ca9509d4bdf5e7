#include "http/Engine.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <httplib.h>

namespace vqloan::client::http {

namespace {

// The library's view of a connection: the head of a request that is whole, and a place for the answer. The
// head of an answer goes out together with what follows it.
class ClientStream : public httplib::Stream
{
public:
    ClientStream(network::Socket& socket, std::string_view head, std::atomic<bool>& isTaken)
        : socket_(socket), head_(head), isTaken_(isTaken)
    {}

    bool is_readable() const override { return !head_.empty(); }
    bool is_writable() const override { return isWhole_; }
    ssize_t read(char* place, size_t size) override
    {
        size = std::min(size, head_.size());
        std::memcpy(place, head_.data(), size);
        head_.remove_prefix(size);
        return static_cast<ssize_t>(size);
    }
    ssize_t write(const char* bytes, size_t size) override
    {
        if (status_ == 0) {
            if (isTaken_.exchange(true)) {
                isWhole_ = false;
                return -1;
            }
            bytes_ = size;
            status_ = std::atoi(bytes + std::min(size, sizeof "HTTP/1.1"));
            held_.assign(bytes, size);
            return static_cast<ssize_t>(size);
        }
        bytes_ += size;
        if (!held_.empty()) {
            held_.append(bytes, size);
            return flush() ? static_cast<ssize_t>(size) : -1;
        }
        return send({bytes, size}) ? static_cast<ssize_t>(size) : -1;
    }
    void get_remote_ip_and_port(std::string&, int&) const override {}
    void get_local_ip_and_port(std::string&, int&) const override {}
    socket_t socket() const override { return INVALID_SOCKET; }

    bool flush() { return send(std::exchange(held_, {})); }
    size_t bytes() const { return bytes_; }
    int status() const { return status_; }

private:
    bool send(std::string_view bytes)
    {
        isWhole_ = isWhole_ && socket_.send(bytes, Clock::now() + takingLimit);
        return isWhole_;
    }

    network::Socket& socket_;
    std::string_view head_;
    std::atomic<bool>& isTaken_;
    std::string held_;
    bool isWhole_ = true;
    size_t bytes_ = 0;
    int status_ = 0;
};

// The library takes along what it finds in a head, and a client's headers have been taken out of it.
constexpr const char* lateHeader = "Late: 1\r\n";

Request requestOf(const httplib::Request& request)
{
    return {.method = request.method,
            .path = request.path,
            .target = request.target,
            .parameters = parametersOf(request.target),
            .body = request.body,
            .peer = request.remote_addr,
            .takesPieces = request.version == "HTTP/1.1",
            .isLate = request.has_header("Late")};
}

void give(Response response, bool inPieces, httplib::Response& out)
{
    out.status = response.status;
    for (const auto& [name, value] : response.headers)
        out.set_header(name, value);
    if (!response.next) {
        out.set_content(response.body, response.type);
        return;
    }
    if (!inPieces) {
        while (const auto piece = response.next())
            response.body += *piece;
        out.set_content(response.body, response.type);
        return;
    }
    out.set_chunked_content_provider(
        response.type, [first = std::move(response.body),
                        next = std::move(response.next)](size_t, httplib::DataSink& sink) mutable {
            const auto piece = first.empty() ? next() : std::optional(std::exchange(first, {}));
            if (!piece)
                sink.done();
            return !piece || sink.write(piece->data(), piece->size());
        });
}

} // namespace

class Engine::Library : public httplib::Server
{
public:
    explicit Library(Answer answer) : answer_(std::move(answer))
    {
        // Before the library looks for a route: there are no patterns to match, and no files to serve.
        set_pre_routing_handler([this](const httplib::Request& request, httplib::Response& out) {
            const Request own = requestOf(request);
            give(answered(own), own.takesPieces, out);
            if (own.method == "HEAD")
                out.set_header("Accept-Ranges", "none"); // of which the library would say the contrary
            return HandlerResponse::Handled;
        });
        set_keep_alive_timeout(idleLimit.count());
        set_keep_alive_max_count(1'000'000);
        svr_sock_ = 0; // what the library takes for a server that has not been stopped
    }

    Exchanged exchange(network::Socket& socket, const std::string& peer, Incoming incoming, bool last,
                       std::atomic<bool>& isTaken)
    {
        if (incoming.isLate)
            incoming.head.insert(incoming.head.size() - 2, lateHeader);
        ClientStream stream(socket, incoming.head, isTaken);
        Exchanged done;
        const auto fill = [&](httplib::Request& request) {
            request.remote_addr = peer;
            request.body = std::move(incoming.body);
            request.target = std::move(incoming.target);
            done.method = request.method;
            done.target = request.target;
        };
        try {
            bool ends = false;
            done.whole = process_request(stream, last, ends, fill) && stream.flush();
        } catch (const std::exception&) {
            // In the midst of an answer: it has no end, which tells the client.
        }
        done.status = stream.status();
        done.bytes = stream.bytes();
        return done;
    }

private:
    Response answered(const Request& request) const
    {
        try {
            return answer_(request);
        } catch (const std::exception& error) {
            return errorResponse({500, error.what()});
        }
    }

    Answer answer_;
};

Engine::Engine(Answer answer) : library_(std::make_unique<Library>(std::move(answer))) {}

Engine::~Engine() = default;

Engine::Exchanged Engine::exchange(network::Socket& socket, const std::string& peer, Incoming incoming,
                                   bool last, std::atomic<bool>& isTaken)
{
    return library_->exchange(socket, peer, std::move(incoming), last, isTaken);
}

} // namespace vqloan::client::http
