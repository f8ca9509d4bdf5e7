#include "http/Engine.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <httplib.h>

namespace vqloan::client::http {

namespace {

// The library's view of a connection: the head of a request that is whole, and a place for the answer. The
// head of an answer goes out together with what follows it. Of the request the library gets to see the
// method: it has ideas of its own on paths, ranges, compression, forms and files, and none of them is wanted
// here.
class ClientStream : public httplib::Stream
{
public:
    ClientStream(network::Socket& socket, const std::string& method, Clock::duration patience,
                 std::atomic<bool>& isTaken)
        : socket_(socket), request_(method + " / HTTP/1.1\r\n\r\n"), head_(request_), patience_(patience),
          isTaken_(isTaken)
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
    std::string takeRest() { return std::move(rest_); }

private:
    bool send(std::string_view bytes)
    {
        if (isWhole_ && rest_.empty())
            bytes.remove_prefix(socket_.send(bytes, Clock::now() + patience_));
        if (patience_ == Clock::duration())
            rest_ += bytes;
        else
            isWhole_ = isWhole_ && bytes.empty();
        return isWhole_;
    }

    network::Socket& socket_;
    const std::string request_;
    std::string_view head_; // what the library has not read of it
    const Clock::duration patience_;
    std::atomic<bool>& isTaken_;
    std::string held_, rest_;
    bool isWhole_ = true;
    size_t bytes_ = 0;
    int status_ = 0;
};

Request requestOf(const Incoming& incoming)
{
    return {.method = incoming.method,
            .target = incoming.target,
            .path = incoming.target.substr(0, incoming.target.find('?')),
            .parameters = parametersOf(incoming.target),
            .body = incoming.body,
            .came = incoming.came};
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
        set_pre_routing_handler([this](const httplib::Request&, httplib::Response& out) {
            give(answered(requestOf(*current)), current->isNew, out);
            if (current->method == "HEAD")
                out.set_header("Accept-Ranges", "none"); // of which the library would say the contrary
            return HandlerResponse::Handled;
        });
        set_keep_alive_timeout(idleLimit.count());
        set_keep_alive_max_count(1'000'000);
        svr_sock_ = 0; // what the library takes for a server that has not been stopped
    }

    Exchanged exchange(network::Socket& socket, const Incoming& incoming, bool last, Clock::duration patience,
                       std::atomic<bool>& isTaken)
    {
        ClientStream stream(socket, incoming.method, patience, isTaken);
        Exchanged done;
        current = &incoming;
        try {
            bool ends = false;
            done.whole = process_request(stream, last, ends, nullptr) && stream.flush();
        } catch (const std::exception&) {
            // In the midst of an answer: it has no end, which tells the client.
        }
        done.status = stream.status();
        done.bytes = stream.bytes();
        done.rest = stream.takeRest();
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

    static thread_local const Incoming* current; // of the calling thread
    Answer answer_;
};

thread_local const Incoming* Engine::Library::current = nullptr;

Engine::Engine(Answer answer) : library_(std::make_unique<Library>(std::move(answer))) {}

Engine::~Engine() = default;

Engine::Exchanged Engine::exchange(network::Socket& socket, const Incoming& incoming, bool last,
                                   Clock::duration patience, std::atomic<bool>& isTaken)
{
    return library_->exchange(socket, incoming, last, patience, isTaken);
}

} // namespace vqloan::client::http
