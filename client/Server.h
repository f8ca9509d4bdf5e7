// A server over an exchange directory: its threads, and what it is told while it runs.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "Commands.h"
#include "Exchange.h"
#include "Log.h"

namespace vqloan::client {

// Answers requests on one thread, which makes it and ends it.
class Answerer
{
public:
    virtual ~Answerer() = default;
    // The answer line for a request line. `whole` is false for one that its client never ended; `wait` is how
    // long clients wait. Troubles go to the log.
    virtual std::u16string answer(std::u16string_view request, bool whole,
                                  std::chrono::milliseconds wait) = 0;
};

struct Service
{
    // Reads the settings, and gives how long clients wait. Called when serving begins and at each SIGHUP.
    std::function<std::chrono::milliseconds()> readSettings;
    // Called after that on each worker's thread. What it throws when serving begins ends the server; later
    // the worker goes on with the answerer that it has.
    std::function<std::unique_ptr<Answerer>(Log&)> makeAnswerer;
};

// Says on standard output that it serves, answers until the process is told to end, says how many requests
// were answered. Each request is answered by one of the workers, in the order of asking. A worker that is
// stuck in a database does not keep the server from ending.
void serve(Exchange& exchange, const Service& service, const ServeOptions& options);

} // namespace vqloan::client
