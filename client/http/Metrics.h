// What the server counts, as Prometheus reads it.
#pragma once

#include <atomic>
#include <cstddef>
#include <string>
#include <vector>

#include "Answer.h"
#include "http/Http.h"

namespace vqloan::client::http {

// For any number of threads.
class Metrics
{
public:
    // A block of lines that was asked, and what came of it; lines without an answer count as failures.
    void asked(std::size_t lines, const std::vector<Answer>& answers, Clock::duration time);
    // A back end that was opened again.
    void opened() noexcept { ++opened_; }
    // A request that was answered with that status.
    void answered(int status, Clock::duration time);

    struct Connections
    {
        std::size_t open, refused;
    };
    std::string text(const Connections& connections) const;

private:
    // Upper bounds of the histograms, in seconds; what takes longer is in the last place.
    static constexpr double bounds[] = {0.0005, 0.001, 0.0025, 0.005, 0.01, 0.025, 0.05,
                                        0.1,    0.25,  0.5,    1,     2.5,  5,     10};
    struct Histogram
    {
        std::atomic<std::size_t> buckets[std::size(bounds) + 1] = {};
        std::atomic<std::size_t> nanoseconds = 0;

        void add(Clock::duration time) noexcept;
        std::string text(const std::string& name, const std::string& help) const;
    };

    std::atomic<std::size_t> outcomes_[4] = {}, statuses_[6] = {}, opened_ = 0;
    Histogram blocks_, requests_;
};

} // namespace vqloan::client::http
