// How much more threads answer that have an object each, beside one thread.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <numeric>
#include <set>
#include <thread>

#include "Copies.h"
#include "LibraryFile.h"

namespace {

using namespace vqloan::bench;

constexpr int held = 100'000;
constexpr int linesOfACall = 500;
constexpr int turns = 7;
constexpr std::chrono::milliseconds turn{500};

// Lines that so many threads answer in a second.
double answered(unsigned threads, const LibraryFile& file, const std::vector<std::u16string>& requests)
{
    std::vector<double> perSecond(threads);
    std::vector<std::jthread> running;
    for (unsigned i = 0; i < threads; ++i)
        running.emplace_back([&, i] {
            Component component(file.connectionText());
            const auto start = std::chrono::steady_clock::now();
            std::size_t calls = 0;
            std::chrono::duration<double> elapsed{};
            do {
                benchmark::DoNotOptimize(component.answers(requests[(calls + i) % requests.size()]));
                ++calls;
                elapsed = std::chrono::steady_clock::now() - start;
            } while (elapsed < turn);
            perSecond[i] = static_cast<double>(calls * linesOfACall) / elapsed.count();
        });
    running.clear(); // joins
    return std::accumulate(perSecond.begin(), perSecond.end(), 0.0);
}

} // namespace

int main()
{
    const LibraryFile file(held);
    const auto requests = requestsOf(anyCopies(20'000, held), linesOfACall);
    const std::set<unsigned> counts{1, 2, std::max(1U, std::thread::hardware_concurrency())};
    std::map<unsigned, std::vector<double>> figures;
    for (int i = 0; i < turns; ++i) // interleaved, so that whatever else runs disturbs all alike
        for (const unsigned threads : counts)
            figures[threads].push_back(answered(threads, file, requests));
    std::map<unsigned, double> medians;
    for (auto& [threads, values] : figures) {
        std::sort(values.begin(), values.end());
        medians[threads] = values[values.size() / 2];
        std::printf("%u threads: %.0f lines a second, %.2f of one thread\n", threads, medians[threads],
                    medians[threads] / medians[1]);
    }
}
