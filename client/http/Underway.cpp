#include "http/Underway.h"

namespace vqloan::client::http {

std::shared_ptr<Direct> Underway::add(std::shared_ptr<Connection> connection, Incoming incoming,
                                      Clock::time_point deadline)
{
    std::shared_ptr<Direct> direct(new Direct{
        .connection = std::move(connection), .incoming = std::move(incoming), .deadline = deadline});
    const std::lock_guard lock(mutex_);
    direct->place = all_.insert(all_.end(), direct);
    return direct;
}

void Underway::remove(Direct& direct)
{
    const std::lock_guard lock(mutex_);
    if (direct.place != all_.end())
        all_.erase(std::exchange(direct.place, all_.end()));
}

std::vector<std::shared_ptr<Direct>> Underway::takeLate()
{
    std::vector<std::shared_ptr<Direct>> late;
    const auto now = Clock::now();
    const std::lock_guard lock(mutex_);
    while (!all_.empty() && all_.front()->deadline <= now) { // each has as long as the others
        const auto direct = all_.front();
        all_.pop_front();
        direct->place = all_.end();
        if (!direct->isTaken.exchange(true))
            late.push_back(direct);
    }
    return late;
}

} // namespace vqloan::client::http
