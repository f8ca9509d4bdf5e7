// Runs Google Benchmark's programs so that figures which belong together stand side by side: benchmarks are
// named "group/real" and "group/BASELINE", their repetitions are interleaved at random, and behind the table
// stands the ratio of the medians. Benchmarks that set items processed are compared per item.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <map>
#include <string>
#include <vector>

namespace vqloan::bench {

class RatioReporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration || run.error_occurred)
                continue;
            const auto items = run.counters.find("items_per_second");
            const bool elapsed = run.run_name.time_type == "real_time";
            const double seconds = (elapsed ? run.real_accumulated_time : run.cpu_accumulated_time) /
                                   static_cast<double>(run.iterations);
            const std::string name = run.run_name.function_name;
            const auto slash = name.rfind('/');
            if (slash != std::string::npos)
                seconds_[name.substr(0, slash)][name.substr(slash + 1)].push_back(
                    items == run.counters.end() ? seconds : 1 / items->second.value);
        }
        std::vector<Run> summary;
        std::ranges::copy_if(runs, std::back_inserter(summary), [](const Run& run) {
            return run.run_type == Run::RT_Aggregate || run.error_occurred;
        });
        if (!summary.empty())
            ConsoleReporter::ReportRuns(summary);
    }

    void Finalize() override
    {
        for (auto& [group, figures] : seconds_)
            for (auto& [baseline, seconds] : figures)
                if (baseline != "real" && figures.contains("real"))
                    std::printf("%s: %.3f microseconds, %.2f of %s\n", group.c_str(),
                                1e6 * median(figures["real"]), median(figures["real"]) / median(seconds),
                                baseline.c_str());
    }

private:
    static double median(std::vector<double> values)
    {
        const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
        std::nth_element(values.begin(), middle, values.end());
        return *middle;
    }

    std::map<std::string, std::map<std::string, std::vector<double>>> seconds_;
};

// How often each figure is taken, and for how many seconds.
struct Repetitions
{
    const char* count;
    const char* seconds;
};
inline constexpr Repetitions fewLong{"9", "0.1"};
// For work that other processes and devices have a part in: the median of many is not moved by their moods.
inline constexpr Repetitions manyShort{"301", "0.005"};

// For main: options of Google Benchmark may follow, and count more.
inline int run(int argc, char** argv, const Repetitions& repetitions = fewLong)
{
    std::vector<std::string> words(argv, argv + argc);
    words.insert(words.begin() + 1, {std::string("--benchmark_repetitions=") + repetitions.count,
                                     "--benchmark_enable_random_interleaving=true",
                                     std::string("--benchmark_min_time=") + repetitions.seconds});
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(word.data());
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data()))
        return 2;
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}

} // namespace vqloan::bench
