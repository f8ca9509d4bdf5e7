// GET /health: whether the back end answers.
#pragma once

#include <mutex>

#include "Site.h"
#include "http/Http.h"
#include "http/Workers.h"

namespace vqloan::client::http {

class Health
{
public:
    // Throws std::runtime_error where a settings file of the site cannot be read.
    Health(Workers& workers, const Site& site, Kind kind);

    // 200, or 503 with the reason. What was found counts for a second.
    Response answer();

private:
    std::string whatIsWrong(Clock::time_point deadline);

    Workers& workers_;
    std::vector<std::u16string> questions_; // of which one is really asked, whatever the others are
    std::mutex mutex_;
    Clock::time_point again_;
    std::string wrong_; // as it was found last; empty: nothing
};

} // namespace vqloan::client::http
