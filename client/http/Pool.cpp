#include "http/Pool.h"

namespace vqloan::client::http {

Pool::Pool(std::size_t threads, std::size_t room) : room_(room)
{
    for (std::size_t i = 0; i < threads; ++i)
        threads_.emplace_back([this] { work(); });
}

Pool::~Pool()
{
    finish(std::chrono::milliseconds(0));
    for (std::thread& thread : threads_)
        thread.join();
}

bool Pool::add(Job job, bool isUrgent)
{
    {
        const std::lock_guard lock(mutex_);
        if (ending_ || (jobs_.size() >= room_ && !isUrgent))
            return false;
        jobs_.insert(isUrgent ? jobs_.begin() : jobs_.end(), std::move(job));
    }
    added_.notify_one();
    return true;
}

bool Pool::finish(std::chrono::milliseconds limit)
{
    std::unique_lock lock(mutex_);
    ending_ = true;
    added_.notify_all();
    return done_.wait_for(lock, limit, [this] { return jobs_.empty() && running_ == 0; });
}

void Pool::work()
{
    std::unique_lock lock(mutex_);
    for (;;) {
        added_.wait(lock, [this] { return ending_ || !jobs_.empty(); });
        if (jobs_.empty())
            return;
        Job job = std::move(jobs_.front());
        jobs_.pop_front();
        ++running_;
        lock.unlock();
        job();
        job = nullptr; // what it holds goes before it counts as done
        lock.lock();
        --running_;
        done_.notify_all();
    }
}

} // namespace vqloan::client::http
