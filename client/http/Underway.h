// Requests that workers answer themselves, and the moment when others have to.
#pragma once

#include <atomic>
#include <list>
#include <memory>
#include <mutex>
#include <vector>

#include "http/Connections.h"

namespace vqloan::client::http {

// Whoever sets `isTaken` answers, and has the connection.
struct Direct
{
    const std::shared_ptr<Connection> connection;
    const Incoming incoming;
    const Clock::time_point deadline;
    std::atomic<bool> isTaken = false;
    std::list<std::shared_ptr<Direct>>::iterator place = {};
};

class Underway
{
public:
    std::shared_ptr<Direct> add(std::shared_ptr<Connection> connection, Incoming incoming,
                                Clock::time_point deadline);
    // Once it is answered, or not to be answered at all.
    void remove(Direct& direct);
    // Those whose time has passed and which nobody has begun to answer; they are taken, and no more here.
    std::vector<std::shared_ptr<Direct>> takeLate();

private:
    std::mutex mutex_;
    std::list<std::shared_ptr<Direct>> all_;
};

} // namespace vqloan::client::http
