#include "http/Workers.h"

#include <algorithm>
#include <iterator>
#include <system_error>

#include "Asker.h"
#include "Turn.h"
#include "platform/automation/Automation.h"

namespace vqloan::client::http {

namespace {

using namespace std::chrono_literals;

// Between two attempts to open a back end again.
constexpr Clock::duration firstPause = 1s, longestPause = 30s;
// How long another client of the same number may take to end.
constexpr std::chrono::seconds turnLimit{10};

bool isBackEndFailure(const Answer& answer)
{
    return answer.outcome == Outcome::failure && answer.failure;
}

} // namespace

void Block::end(std::vector<Answer> answers, std::string failure)
{
    const std::lock_guard lock(mutex_);
    answers_ = std::move(answers);
    failure_ = std::move(failure);
    isDone_ = true;
    changed_.notify_all();
}

std::optional<std::vector<Answer>> Block::wait()
{
    std::unique_lock lock(mutex_);
    if (!changed_.wait_until(lock, deadline, [this] { return isDone_; }))
        return std::nullopt;
    if (!failure_.empty())
        throw Refusal{502, failure_};
    return std::move(answers_);
}

// Lives on its thread.
class Workers::Worker
{
public:
    Worker(const Site& site, Workers& workers)
        : site_(site), workers_(workers), turn_(site, workers.kind_, turnLimit),
          generation_(workers.generation_), asker_(std::make_unique<Asker>(site, workers.kind_))
    {
        const std::lock_guard lock(workers.mutex_);
        std::ranges::copy(turn_.files(), std::back_inserter(workers.files_));
    }

    std::size_t mostAtOnce() const noexcept { return asker_->mostAtOnce(); }

    // A back end that has gone away may be there again once it is opened anew.
    std::vector<Answer> ask(const std::vector<std::u16string>& lines)
    {
        if (const std::size_t latest = workers_.generation_; latest != generation_) {
            generation_ = latest;
            reopen();
        }
        auto answers = asker_->ask(lines);
        if (std::ranges::none_of(answers, isBackEndFailure)) {
            pause_ = {};
            return answers;
        }
        tell(answers);
        if (Clock::now() < openAgain_ || !reopen())
            return answers;
        answers = asker_->ask(lines);
        if (std::ranges::none_of(answers, isBackEndFailure))
            pause_ = {};
        return answers;
    }

private:
    void tell(const std::vector<Answer>& answers)
    {
        const auto first = std::ranges::find_if(answers, isBackEndFailure);
        workers_.log_.trouble("failure " + std::to_string(first->failure->number) + " of the back end",
                              first->failure->text());
    }

    bool reopen()
    {
        pause_ = std::clamp(2 * pause_, firstPause, longestPause);
        openAgain_ = Clock::now() + pause_;
        try {
            asker_ = std::make_unique<Asker>(site_, workers_.kind_);
            workers_.metrics_.opened();
            return true;
        } catch (const std::exception& error) {
            workers_.log_.trouble("a back end that cannot be opened", error.what());
            return false;
        }
    }

    const Site& site_;
    Workers& workers_;
    Turn turn_;
    std::size_t generation_;
    std::unique_ptr<Asker> asker_;
    Clock::duration pause_{};
    Clock::time_point openAgain_;
};

thread_local Workers::Worker* Workers::current = nullptr;

Workers::Workers(const std::vector<Site>& sites, Kind kind, Log& log, Metrics& metrics,
                 const std::function<void()>& whileOpening)
    : component_(sites.front().source()), kind_(kind), log_(log), metrics_(metrics)
{
    for (const Site& site : sites) {
        std::promise<void> ready;
        std::future<void> isReady = ready.get_future();
        ++working_;
        threads_.emplace_back([this, &site, promise = std::move(ready)]() mutable { work(site, promise); });
        while (isReady.wait_for(0s) != std::future_status::ready)
            whileOpening();
        try {
            isReady.get();
        } catch (...) {
            end();
            throw;
        }
    }
}

Workers::~Workers()
{
    end();
}

void Workers::end()
{
    finish(0ms);
    for (std::thread& thread : threads_)
        thread.join();
}

std::shared_ptr<Block> Workers::ask(std::vector<std::u16string> lines, Clock::time_point deadline)
{
    auto block = std::make_shared<Block>(std::move(lines), deadline);
    if (Clock::now() >= deadline)
        return block;
    if (current)
        ask(*block);
    else
        add([this, held = std::weak_ptr(block)] {
            const auto wanted = held.lock();
            if (wanted && Clock::now() < wanted->deadline)
                ask(*wanted);
        });
    return block;
}

bool Workers::run(Job job)
{
    {
        const std::lock_guard lock(mutex_);
        if (ending_ || waiting_ >= mostJobs)
            return false;
        ++waiting_;
    }
    add([this, job = std::move(job)] {
        {
            const std::lock_guard lock(mutex_);
            --waiting_;
        }
        job();
    });
    return true;
}

void Workers::add(Job job)
{
    {
        const std::lock_guard lock(mutex_);
        jobs_.push_back(std::move(job));
    }
    added_.notify_one();
}

bool Workers::finish(std::chrono::milliseconds limit)
{
    std::unique_lock lock(mutex_);
    ending_ = true;
    added_.notify_all();
    return ended_.wait_for(lock, limit, [this] { return working_ == 0; });
}

void Workers::abandon() noexcept
{
    const std::lock_guard lock(mutex_);
    std::error_code ignored;
    for (const std::filesystem::path& file : files_)
        std::filesystem::remove(file, ignored);
}

Workers::Job Workers::next()
{
    std::unique_lock lock(mutex_);
    added_.wait(lock, [this] { return ending_ || !jobs_.empty(); });
    if (jobs_.empty())
        return nullptr;
    Job job = std::move(jobs_.front());
    jobs_.pop_front();
    return job;
}

void Workers::work(const Site& site, std::promise<void>& ready)
{
    CoInitialize(nullptr);
    try {
        Worker worker(site, *this);
        current = &worker;
        mostAtOnce_ = worker.mostAtOnce();
        ready.set_value();
        while (const Job job = next())
            job();
    } catch (...) {
        ready.set_exception(std::current_exception());
    }
    CoUninitialize();
    const std::lock_guard lock(mutex_);
    --working_;
    ended_.notify_all();
}

// On a worker's thread.
void Workers::ask(Block& block)
{
    std::vector<Answer> answers;
    std::string failure;
    const auto begun = Clock::now();
    try {
        answers = current->ask(block.lines);
    } catch (const std::exception& error) {
        failure = error.what();
        log_.trouble("a block that cannot be asked", failure);
    }
    metrics_.asked(block.lines.size(), answers, Clock::now() - begun);
    block.end(std::move(answers), std::move(failure));
}

} // namespace vqloan::client::http
