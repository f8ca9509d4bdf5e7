#include "Server.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <exception>
#include <future>
#include <iostream>
#include <thread>
#include <vector>

#include "platform/automation/Automation.h"
#include "platform/program/DirectoryWatch.h"
#include "platform/program/Program.h"
#include "platform/program/Signals.h"
#include "platform/runtime/RuntimeError.h"
#include "platform/runtime/Text.h"

namespace vqloan::client {

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// How long a request may stay without its line end.
constexpr auto patience = 1s;
// Between two looks at a request that is not whole, or a worker that is not ready.
constexpr auto lookAgain = 10ms;
// Between two looks at the whole directory: while requests come that nobody tells of, as from another
// machine; and otherwise.
constexpr Clock::duration busyLook = 10ms, idleLook = 250ms, busyFor = 5s;
// A look may take this part of the time, where a directory holds very much.
constexpr int mostOfTime = 20;
// A trouble's name in the log.
constexpr const char* failedRequest = "a request that cannot be taken, read or answered";
// How long workers have to end.
constexpr auto farewell = 1500ms;

std::string textOf(const std::exception& error)
{
    const auto* const failure = dynamic_cast<const RuntimeError*>(&error);
    return failure ? std::to_string(failure->number) + ' ' + text::toUtf8(failure->description)
                   : error.what();
}

// Clients whose requests lie in the directory, in the order in which they came.
class Queue
{
public:
    Queue(const Exchange& exchange, Log& log) : exchange_(exchange), log_(log), watch_(exchange.directory())
    {}

    // The next one; nothing when none has come within `limit`.
    std::optional<std::string> next(Clock::duration limit)
    {
        if (auto client = pop())
            return client;
        const auto notice = watch_.wait(pause(limit));
        const std::lock_guard lock(mutex_);
        for (const std::string& name : notice.names)
            if (auto client = exchange_.clientOf(name))
                clients_.push_back(*std::move(client));
        if (notice.lookAround || (clients_.empty() && Clock::now() >= nextLook_))
            lookAround(notice.lookAround);
        return popLocked();
    }
    void wake() noexcept { watch_.wake(); }

private:
    std::optional<std::string> pop()
    {
        const std::lock_guard lock(mutex_);
        return popLocked();
    }
    std::optional<std::string> popLocked()
    {
        if (clients_.empty())
            return std::nullopt;
        std::string client = std::move(clients_.front());
        clients_.pop_front();
        if (!clients_.empty())
            watch_.wake(); // for another worker
        return client;
    }
    std::chrono::milliseconds pause(Clock::duration limit)
    {
        const std::lock_guard lock(mutex_);
        const auto left = std::min(limit, nextLook_ - Clock::now());
        return std::max(std::chrono::ceil<std::chrono::milliseconds>(left), 1ms);
    }
    void lookAround(bool wasTold)
    {
        const auto begun = Clock::now();
        try {
            watch_.renew();
            for (std::string& client : exchange_.waiting())
                clients_.push_back(std::move(client));
        } catch (const std::exception& error) {
            log_.trouble("a directory that cannot be listed", error.what());
        }
        const auto now = Clock::now();
        if (!clients_.empty() && !wasTold)
            busyUntil_ = now + busyFor; // nobody had told of them
        const Clock::duration usual = now < busyUntil_ ? busyLook : idleLook;
        nextLook_ = now + std::max(usual, mostOfTime * (now - begun));
    }

    const Exchange& exchange_;
    Log& log_;
    program::DirectoryWatch watch_;
    std::mutex mutex_;
    std::deque<std::string> clients_;
    Clock::time_point nextLook_ = Clock::now(), busyUntil_;
};

class Server
{
public:
    Server(Exchange& exchange, const Service& service, const ServeOptions& options)
        : exchange_(exchange), service_(service), options_(options), queue_(exchange, log_),
          wait_(service.readSettings())
    {}

    void run()
    {
        program::Signals signals; // before any thread begins
        bool toEnd = false;
        for (int i = 0; i < options_.workers && !toEnd; ++i)
            toEnd = start(signals);
        if (!toEnd)
            std::cout << "Serving " << exchange_.name() << std::endl;
        while (!toEnd) {
            toEnd = isToldToEnd(signals, 1s);
            log_.tellWhatIsOver();
        }
        const bool ended = endWorkers();
        log_.tellAll();
        std::cout << "Answered " << answered_ << " requests" << std::endl;
        if (ended)
            return;
        log_.warning("ended while a database was still being asked");
        exchange_.abandon();
        program::endNow(0);
    }

private:
    // Does what it is told otherwise.
    bool isToldToEnd(program::Signals& signals, std::chrono::milliseconds limit)
    {
        const program::Told told = signals.wait(limit);
        if (told == program::Told::reload)
            reload();
        return told == program::Told::end;
    }

    // Returns once the worker can answer, which may take a database's time, or true when told to end before;
    // throws what kept it from that.
    bool start(program::Signals& signals)
    {
        std::promise<void> ready;
        std::future<void> isReady = ready.get_future();
        {
            const std::lock_guard lock(mutex_);
            ++working_;
        }
        workers_.emplace_back([this, promise = std::move(ready)]() mutable { work(promise); });
        while (isReady.wait_for(0s) != std::future_status::ready)
            if (isToldToEnd(signals, lookAgain))
                return true;
        try {
            isReady.get();
        } catch (...) {
            endWorkers();
            throw;
        }
        return false;
    }

    bool endWorkers()
    {
        std::unique_lock lock(mutex_);
        ending_ = true;
        for (std::size_t i = 0; i < workers_.size(); ++i)
            queue_.wake();
        if (!ended_.wait_for(lock, farewell, [this] { return working_ == 0; }))
            return false;
        lock.unlock();
        for (std::thread& worker : workers_)
            worker.join();
        workers_.clear();
        return true;
    }

    void reload()
    {
        try {
            wait_ = service_.readSettings();
            ++generation_;
            log_.info("the settings are read again");
        } catch (const std::exception& error) {
            log_.warning("the settings stay as they were: " + textOf(error));
        }
    }

    void work(std::promise<void>& ready)
    {
        CoInitialize(nullptr);
        try {
            answerRequests(ready);
        } catch (...) {
            ready.set_exception(std::current_exception());
        }
        CoUninitialize();
        const std::lock_guard lock(mutex_);
        --working_;
        ended_.notify_all();
    }

    void answerRequests(std::promise<void>& ready)
    {
        std::size_t generation = generation_;
        std::unique_ptr<Answerer> answerer = service_.makeAnswerer(log_);
        ready.set_value();
        while (!ending_) {
            if (const std::size_t latest = generation_; latest != generation) {
                generation = latest;
                renew(answerer);
            }
            try {
                if (auto request = next())
                    answer(*answerer, *std::move(request));
            } catch (const RuntimeError& error) { // of a file, which it does not name
                log_.trouble(failedRequest, exchange_.name() + ": " + textOf(error));
            } catch (const std::exception& error) {
                log_.trouble(failedRequest, error.what());
            }
        }
    }

    void renew(std::unique_ptr<Answerer>& answerer)
    {
        try {
            answerer = service_.makeAnswerer(log_);
        } catch (const std::exception& error) {
            log_.warning("a worker goes on with the settings that it has: " + textOf(error));
        }
    }

    // A request whose time has come; nothing when there is none for a while.
    std::optional<Exchange::Request> next()
    {
        Clock::duration limit = idleLook;
        {
            const std::lock_guard lock(mutex_);
            if (!later_.empty()) {
                const auto first = later_.begin();
                limit = first->first - Clock::now();
                if (limit <= Clock::duration::zero())
                    return std::move(later_.extract(first).mapped());
            }
        }
        const auto client = queue_.next(limit);
        auto request = client ? exchange_.take(*client) : std::nullopt;
        if (!request || options_.delay == 0)
            return request;
        postpone(*std::move(request), std::chrono::milliseconds(options_.delay));
        return std::nullopt;
    }
    void postpone(Exchange::Request request, Clock::duration pause)
    {
        const std::lock_guard lock(mutex_);
        later_.emplace(Clock::now() + pause, std::move(request));
    }

    void answer(Answerer& answerer, Exchange::Request request)
    {
        try {
            const auto line = exchange_.read(request);
            if (!line.whole &&
                Clock::now() - request.taken < patience + std::chrono::milliseconds(options_.delay))
                return postpone(std::move(request), lookAgain);
            const std::u16string asked = text::fromCodePage(line.bytes);
            const std::u16string answer = answerer.answer(asked, line.whole, wait_);
            const auto placed = exchange_.place(request, text::toCodePage(answer), wait_);
            tell(request.client, asked, answer, placed);
        } catch (...) {
            exchange_.drop(request);
            throw;
        }
    }

    void tell(const std::string& client, std::u16string_view asked, std::u16string_view answer,
              Exchange::Placed placed)
    {
        if (placed == Exchange::Placed::tooLate)
            log_.trouble("an answer too late for its client",
                         "the answer to client " + client + " came too late and is dropped");
        else if (placed == Exchange::Placed::askedAgain)
            log_.trouble("a client that asks again before its answer",
                         "client " + client + " has asked again before its answer, which is dropped");
        else if (placed == Exchange::Placed::gone)
            log_.trouble("a client that has ended",
                         "client " + client + " has ended, and its answer is dropped");
        else
            ++answered_;
        if (options_.verbose)
            log_.info(client + ": " + text::toUtf8(asked) + " -> " + text::toUtf8(answer));
    }

    Exchange& exchange_;
    const Service& service_;
    const ServeOptions& options_;
    Log log_;
    Queue queue_;
    std::atomic<std::chrono::milliseconds> wait_;
    std::atomic<std::size_t> generation_ = 0, answered_ = 0;
    std::mutex mutex_;
    std::condition_variable ended_; // one of the workers
    int working_ = 0;
    std::multimap<Clock::time_point, Exchange::Request> later_; // too early to answer, or not whole yet
    std::atomic<bool> ending_ = false;
    std::vector<std::thread> workers_;
};

} // namespace

void serve(Exchange& exchange, const Service& service, const ServeOptions& options)
{
    Server(exchange, service, options).run();
}

} // namespace vqloan::client
