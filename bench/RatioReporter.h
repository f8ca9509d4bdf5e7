// Runs Google Benchmark's programs so that figures which belong together stand side by side: benchmarks are
// named "group/real" and "group/BASELINE", their repetitions are interleaved at random, and behind the table
// stands the ratio of the medians. Benchmarks that set items processed are compared per item.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
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
        ConsoleReporter::ReportRuns(runs);
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

// For main: options of Google Benchmark may follow; without any, each figure is taken nine times.
inline int run(int argc, char** argv)
{
    std::vector<std::string> words(argv, argv + argc);
    words.insert(words.begin() + 1,
                 {"--benchmark_repetitions=9", "--benchmark_enable_random_interleaving=true",
                  "--benchmark_min_time=0.1"});
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
