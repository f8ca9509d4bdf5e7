// Ask the back end, each on a thread of its own with a component of its own.
#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>
#include <filesystem>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "Answer.h"
#include "Log.h"
#include "Site.h"
#include "http/Http.h"
#include "http/Metrics.h"
#include "platform/program/Program.h"

namespace vqloan::client::http {

// Request lines that are to be asked, and their answers once they have been.
class Block
{
public:
    Block(std::vector<std::u16string> asked, Clock::time_point until)
        : lines(std::move(asked)), deadline(until)
    {}

    // The answers in the order of the lines; nothing when they are not there in time. Throws Refusal 502 when
    // they could not be asked at all.
    std::optional<std::vector<Answer>> wait();

    const std::vector<std::u16string> lines;
    const Clock::time_point deadline;

private:
    friend class Workers;
    void end(std::vector<Answer> answers, std::string failure);

    std::mutex mutex_;
    std::condition_variable changed_;
    bool isDone_ = false;
    std::vector<Answer> answers_;
    std::string failure_;
};

class Workers
{
public:
    // A worker for each site. Throws what keeps the first component from being opened, or any. Opening may
    // take a database's time: `whileOpening` is called over and over meanwhile, and waits a little.
    Workers(const std::vector<Site>& sites, Kind kind, Log& log, Metrics& metrics,
            const std::function<void()>& whileOpening);
    // Waits for what is being asked.
    ~Workers();

    // Blocks and jobs are seen to in the order in which they come. Those who wait for blocks are few, and
    // each has at most a few here. In a job the worker asks at once, and the block that it gets has its
    // answers. A block whose time has passed, or which nobody holds any more, is not asked.
    std::shared_ptr<Block> ask(std::vector<std::u16string> lines, Clock::time_point deadline);
    // Lets a worker do something that asks. False when `mostJobs` wait already.
    using Job = std::function<void()>;
    bool run(Job job);
    // The most lines that a block should have.
    std::size_t mostAtOnce() const noexcept { return mostAtOnce_; }
    std::size_t size() const noexcept { return threads_.size(); }
    // The settings are read again, by each worker before its next block.
    void reload() noexcept { ++generation_; }
    // False when a worker is still being answered at the end of `limit`.
    bool finish(std::chrono::milliseconds limit);
    // Before the program ends while workers are still being answered: no request and no lock of theirs stays.
    void abandon() noexcept;

private:
    class Worker;
    static thread_local Worker* current; // of the calling thread
    void end();
    void add(Job job);
    void work(const Site& site, std::promise<void>& ready);
    Job next();
    void ask(Block& block);

    const program::Library component_; // loaded until the last thread that used it has ended
    const Kind kind_;
    Log& log_;
    Metrics& metrics_;
    std::mutex mutex_;
    std::condition_variable added_, ended_;
    static constexpr std::size_t mostJobs = 256;
    std::deque<Job> jobs_;                     // a block is one that asks it
    std::size_t waiting_ = 0;                  // of them, without those for blocks
    std::vector<std::filesystem::path> files_; // of the workers' turns
    std::size_t working_ = 0;
    bool ending_ = false;
    std::atomic<std::size_t> generation_ = 0, mostAtOnce_ = 1;
    std::vector<std::thread> threads_;
};

} // namespace vqloan::client::http
