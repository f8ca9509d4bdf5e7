#include "http/Connections.h"

#include <algorithm>

namespace vqloan::client::http {

namespace {

using namespace std::chrono_literals;

// So many places, which the system's usual limit of 1,024 handles has room for; a client beyond them takes
// that of one who has been idle, or is refused. The refused may stay a moment, and they are not so many
// either.
constexpr std::size_t mostConnections = 512, mostWithRefused = 640;
constexpr std::size_t headPiece = 4 * 1024, bodyPiece = 64 * 1024;
constexpr Clock::duration leavingLimit = 1s, acceptPause = 50ms;
constexpr std::chrono::milliseconds look = 250ms; // between two looks at what has been too slow

std::string rawAnswer(const Refusal& refusal)
{
    const std::string body = errorBody(refusal.status, refusal.description);
    std::string raw =
        "HTTP/1.1 " + std::to_string(refusal.status) + ' ' + std::string(reasonOf(refusal.status)) +
        "\r\nContent-Type: application/json; charset=utf-8\r\nAccess-Control-Allow-Origin: *\r\n"
        "X-DAIA-Version: 1.0.0\r\nContent-Language: en\r\nConnection: close\r\n";
    for (const auto& [name, value] : refusal.headers)
        raw.append(name).append(": ").append(value).append("\r\n");
    return raw + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

const Refusal overloaded = {503, "too many requests at once", {{"Retry-After", "1"}}};

} // namespace

Connections::Connections(network::Listener& listener, AccessLog& log, Handler handler)
    : listener_(listener), log_(log), handler_(std::move(handler))
{}

void Connections::run()
{
    std::vector<const network::Socket*> sockets;
    std::vector<Place> places;
    while (!ending_) {
        sockets.clear();
        places.clear();
        for (auto it = connections_.begin(); it != connections_.end(); ++it) {
            sockets.push_back(&(*it)->socket);
            places.push_back(it);
        }
        const bool accepts = Clock::now() >= acceptAgain_;
        const auto ready = watch_.wait(accepts ? &listener_ : nullptr, sockets, accepts ? look : 20ms);
        for (const std::size_t i : ready.sockets)
            read(places[i]);
        takeBack();
        if (ready.listener)
            acceptAll();
        tend();
    }
    connections_.clear();
}

void Connections::end() noexcept
{
    ending_ = true;
    watch_.wake();
}

void Connections::giveBack(std::shared_ptr<Connection> connection)
{
    {
        const std::lock_guard lock(mutex_);
        returned_.push_back(std::move(connection));
    }
    watch_.wake();
}

void Connections::takeBack()
{
    std::list<std::shared_ptr<Connection>> returned;
    {
        const std::lock_guard lock(mutex_);
        returned.swap(returned_);
    }
    while (!returned.empty()) {
        connections_.splice(connections_.end(), returned, returned.begin());
        const Place place = std::prev(connections_.end());
        (*place)->state = Connection::State::idle;
        (*place)->deadline = Clock::now() + idleLimit;
        if (!(*place)->bytes.empty())
            advance(place);
    }
}

void Connections::acceptAll()
{
    bool isFirst = true;
    while (auto socket = listener_.accept()) {
        isFirst = false;
        connections_.push_back(std::make_shared<Connection>(*std::move(socket)));
        const Place place = std::prev(connections_.end());
        (*place)->deadline = Clock::now() + headLimit;
        if (Connection::all <= mostConnections)
            continue;
        const auto isIdle = [](const auto& connection) {
            return connection->state == Connection::State::idle;
        };
        const auto idle = std::find_if(connections_.begin(), place, isIdle);
        if (idle != place)
            forget(idle);
        else if (Connection::all <= mostWithRefused)
            refuse(place, overloaded);
        else
            forget(place);
    }
    if (isFirst) // the system has no room for it; without a pause it would be asked at once again
        acceptAgain_ = Clock::now() + acceptPause;
}

void Connections::read(Place place)
{
    Connection& connection = **place;
    const auto received =
        connection.socket.receive(connection.bytes, connection.reader.hasHead() ? bodyPiece : headPiece);
    if (received == network::Socket::Received::end)
        return forget(place);
    if (connection.state == Connection::State::leaving)
        connection.bytes.clear();
    else if (received == network::Socket::Received::bytes)
        advance(place);
}

void Connections::advance(Place place)
{
    Connection& connection = **place;
    if (connection.state == Connection::State::idle) {
        connection.state = Connection::State::reading;
        connection.begun = Clock::now();
        connection.deadline = connection.begun + headLimit;
    }
    switch (connection.reader.advance(connection.bytes)) {
    case RequestReader::Step::whole:
        return hand(place);
    case RequestReader::Step::refused:
        return refuse(place, connection.reader.refusal());
    case RequestReader::Step::more:
        break;
    }
    if (connection.reader.hasHead())
        connection.deadline = connection.begun + requestLimit;
    if (connection.reader.takeInvitation())
        connection.socket.send("HTTP/1.1 100 Continue\r\n\r\n", Clock::now());
    if (held() > mostHeld)
        refuse(place, overloaded);
}

void Connections::hand(Place place)
{
    // What is handed on may be back at once, so that nothing of it is looked at any more.
    const std::shared_ptr<Connection> connection = *place;
    Incoming incoming = connection->reader.take();
    if (handler_(connection, std::move(incoming)))
        connections_.erase(place);
    else
        refuse(place, overloaded);
}

void Connections::refuse(Place place, const Refusal& refusal)
{
    Connection& connection = **place;
    const std::string answer = rawAnswer(refusal);
    ++counts_.refused;
    connection.socket.send(answer, Clock::now());
    connection.socket.endSending();
    std::string().swap(connection.bytes); // their room, too
    const auto now = Clock::now();
    log_.tell(connection.peer, {}, {}, refusal.status, answer.size(),
              connection.state == Connection::State::reading ? now - connection.begun : Clock::duration());
    connection.state = Connection::State::leaving;
    connection.deadline = now + leavingLimit;
}

void Connections::forget(Place place)
{
    connections_.erase(place);
}

// Ends what has had its time.
void Connections::tend()
{
    const auto now = Clock::now();
    for (auto it = connections_.begin(); it != connections_.end();) {
        const Place place = it++;
        if ((*place)->deadline > now)
            continue;
        if ((*place)->state == Connection::State::reading)
            refuse(place, {408, "the request has not come in time"});
        else
            forget(place);
    }
    counts_.open = connections_.size();
}

std::size_t Connections::held() const noexcept
{
    std::size_t all = 0;
    for (const auto& connection : connections_)
        all += connection->bytes.capacity();
    return all;
}

} // namespace vqloan::client::http
