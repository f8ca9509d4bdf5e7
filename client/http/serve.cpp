// vqloan serve: a site's availability over HTTP.
#include <algorithm>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <thread>

#include "Commands.h"
#include "Log.h"
#include "Site.h"
#include "http/Availability.h"
#include "http/ClientNumbers.h"
#include "http/Connections.h"
#include "http/Daia.h"
#include "http/Engine.h"
#include "http/Health.h"
#include "http/Metrics.h"
#include "http/Page.h"
#include "http/Pool.h"
#include "http/Services.h"
#include "http/Underway.h"
#include "http/Workers.h"
#include "platform/program/Program.h"
#include "platform/program/Signals.h"

namespace vqloan::client {

namespace {

using namespace http;
using namespace std::chrono_literals;

// Requests that are being answered, and those that wait for it; more are refused. The threads for what asks
// no back end are others, so that a back end that is late keeps nobody from the page and the figures.
constexpr std::size_t askingThreads = 32, askingRoom = 256, otherThreads = 2, otherRoom = 64;
// How long what runs has to end.
constexpr auto farewell = 4s;

// Of the target of a request that asks about a few copies: its answer is small, and no client that takes it
// slowly keeps the worker.
constexpr std::size_t longestDirect = 500;

bool asksBackEnd(std::string_view target)
{
    return target.starts_with("/daia") || target.starts_with("/availability") ||
           target.starts_with("/health");
}

class Service
{
public:
    Service(const HttpOptions& options, Kind kind, const Site& site, program::Signals& signals)
        : options_(options), services_(options.services), listener_(options.listen),
          engine_([this](const http::Request& request) { return answer(request); }),
          numbers_(site, kind, options.clientNumbers), sites_(sitesOf(kind, site)),
          workers_(sites_, kind, log_, metrics_,
                   [&] {
                       if (signals.wait(10ms) == program::Told::end)
                           abandon();
                   }),
          daia_(workers_, services_,
                {options.idPrefix, options.baseUri, options.institution, options.language}),
          health_(workers_, site, kind), access_(options.quiet), asking_(askingThreads, askingRoom),
          other_(otherThreads, otherRoom),
          connections_(listener_, access_,
                       [this](const std::shared_ptr<Connection>& connection, Incoming incoming) {
                           return take(connection, std::move(incoming));
                       })
    {}

    void run(program::Signals& signals)
    {
        std::thread connecting([this] { connections_.run(); });
        std::cout << "Serving on http://" << listener_.address() << std::endl;
        for (program::Told told{}; told != program::Told::end;) {
            told = signals.wait(250ms);
            log_.tellWhatIsOver();
            refuseLate();
            if (told == program::Told::reload)
                workers_.reload();
        }
        connections_.end();
        end();
        connecting.join();
        log_.tellAll();
    }

private:
    std::vector<Site> sitesOf(Kind kind, const Site& site) const
    {
        if (kind != Kind::database && options_.workers > 1 && options_.clientNumbers.empty())
            throw std::runtime_error("each worker needs a client number of its own: name them with "
                                     "--client-numbers");
        if (!options_.clientNumbers.empty())
            return numbers_.sites();
        const std::size_t processors = std::clamp(std::thread::hardware_concurrency(), 1U, 8U);
        const std::size_t usual = kind == Kind::database ? processors : 1;
        return {options_.workers > 0 ? static_cast<std::size_t>(options_.workers) : usual, site};
    }

    bool take(const std::shared_ptr<Connection>& connection, Incoming incoming)
    {
        const bool asks = asksBackEnd(incoming.target);
        const bool isSmall = incoming.target.size() < longestDirect && incoming.body.empty();
        if (asks && isSmall && !incoming.target.starts_with("/health"))
            return takeDirectly(connection, std::move(incoming));
        Pool& pool = asks ? asking_ : other_;
        return pool.add([this, connection, held = std::make_shared<Incoming>(std::move(incoming))] {
            std::atomic<bool> isTaken = false;
            exchange(connection, *held, takingLimit, isTaken);
        });
    }

    // By the worker that asks, which spares it two ways between threads. It waits for no client.
    bool takeDirectly(const std::shared_ptr<Connection>& connection, Incoming incoming)
    {
        const auto deadline = deadlineOf(incoming.came);
        const auto direct = underway_.add(connection, std::move(incoming), deadline);
        const auto answer = [this, direct] {
            exchange(direct->connection, direct->incoming, Clock::duration(), direct->isTaken);
            underway_.remove(*direct);
        };
        if (workers_.run(answer))
            return true;
        underway_.remove(*direct);
        return direct->isTaken.exchange(true);
    }

    // Their time has passed, so that no back end is waited for; and they are no more than wait for the
    // workers.
    void refuseLate()
    {
        for (const auto& direct : underway_.takeLate()) {
            const auto refuse = [this, direct] {
                std::atomic<bool> isTaken = false;
                exchange(direct->connection, direct->incoming, takingLimit, isTaken);
            };
            asking_.add(refuse, true);
        }
    }

    void exchange(const std::shared_ptr<Connection>& connection, const Incoming& incoming,
                  Clock::duration patience, std::atomic<bool>& isTaken)
    {
        if (isTaken)
            return;
        const bool last = !incoming.keepsOpen || connections_.isEnding();
        const auto done = engine_.exchange(connection->socket, incoming, last, patience, isTaken);
        if (done.status == 0)
            return;
        const bool goesOn = done.whole && !last;
        const auto time = Clock::now() - incoming.came;
        metrics_.answered(done.status, time);
        access_.tell(connection->peer, incoming.method, incoming.target, done.status, done.bytes, time);
        if (!done.rest.empty())
            asking_.add([this, connection, goesOn, rest = done.rest] {
                if (connection->socket.send(rest, Clock::now() + takingLimit) == rest.size() && goesOn)
                    connections_.giveBack(connection);
            });
        else if (goesOn)
            connections_.giveBack(connection);
    }

    Clock::time_point deadlineOf(Clock::time_point came) const
    {
        return came + std::chrono::seconds(options_.limit);
    }

    Response answer(const http::Request& request)
    {
        try {
            return route(request);
        } catch (const Refusal& refusal) {
            return errorResponse(refusal);
        }
    }

    Response route(const http::Request& request)
    {
        const auto deadline = deadlineOf(request.came);
        const std::string& path = request.path;
        if (path == "/daia" || path == "/daia/")
            return daia_.answer(request, deadline);
        if (path == "/availability")
            return availability(request, workers_, deadline);
        const bool isKnown = path == "/" || path == "/health" || path == "/metrics";
        if (!isKnown)
            throw Refusal{
                404,
                "there is nothing at this path: /daia, /availability, /health, /metrics and / are served"};
        if (request.method != "GET" && request.method != "HEAD")
            throw Refusal{405, "this is asked with GET", {{"Allow", "GET, HEAD"}}};
        if (path == "/health")
            return health_.answer();
        if (path == "/")
            return page();
        Response response;
        response.type = "text/plain; version=0.0.4; charset=utf-8";
        response.body = metrics_.text({connections_.counts().open, connections_.counts().refused});
        return response;
    }

    // What runs is finished; what cannot be within the time ends with the process.
    void end()
    {
        const auto deadline = Clock::now() + farewell;
        const auto left = [deadline] {
            return std::max(std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()), 1ms);
        };
        const bool isFinished = other_.finish(left()) && asking_.finish(left()) && workers_.finish(left());
        if (isFinished)
            return;
        log_.tellAll();
        log_.warning("ended before all was answered");
        abandon();
    }

    // The back end has a worker's thread, so that nothing can be ended in its order.
    [[noreturn]] void abandon()
    {
        workers_.abandon();
        numbers_.remove();
        program::endNow(allWell);
    }

    const HttpOptions& options_;
    Log log_;
    Metrics metrics_;
    const Services services_;
    network::Listener listener_;
    Engine engine_;
    ClientNumbers numbers_;
    const std::vector<Site> sites_;
    Workers workers_;
    Daia daia_;
    Health health_;
    AccessLog access_;
    Underway underway_;
    Pool asking_, other_;
    Connections connections_;
};

} // namespace

int serveHttp(const HttpOptions& options)
{
    const Site site(options.site);
    program::Signals signals; // before any thread begins
    Service(options, options.kind, site, signals).run(signals);
    return allWell;
}

} // namespace vqloan::client
