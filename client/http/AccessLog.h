// One line a request, on standard output.
#pragma once

#include <mutex>
#include <string>

#include "http/Http.h"

namespace vqloan::client::http {

class AccessLog
{
public:
    explicit AccessLog(bool isQuiet);

    // TIME CLIENT "METHOD TARGET" STATUS BYTES SECONDS, all that came from outside escaped. A request that
    // was refused before it was read has "-" in place of what is not known.
    void tell(const std::string& peer, const std::string& method, const std::string& target, int status,
              std::size_t bytes, Clock::duration time);

private:
    const bool isQuiet_;
    std::mutex mutex_;
};

} // namespace vqloan::client::http
