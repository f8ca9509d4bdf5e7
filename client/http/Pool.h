// Requests that wait to be answered, and the threads that see to it.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace vqloan::client::http {

class Pool
{
public:
    using Job = std::function<void()>;

    // At most `room` jobs wait. A job throws nothing.
    Pool(std::size_t threads, std::size_t room);
    // Waits for what runs.
    ~Pool();

    // False when there is no room, or it has been told to finish. There is always room for one that is
    // urgent, and it is the next.
    bool add(Job job, bool isUrgent = false);
    // Takes no more. True once all jobs have run; false when they have not within `limit`.
    bool finish(std::chrono::milliseconds limit);

private:
    void work();

    const std::size_t room_;
    std::mutex mutex_;
    std::condition_variable added_, done_;
    std::deque<Job> jobs_;
    std::size_t running_ = 0;
    bool ending_ = false;
    std::vector<std::thread> threads_;
};

} // namespace vqloan::client::http
