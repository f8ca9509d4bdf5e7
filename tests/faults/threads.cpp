// Eight threads with objects of their own on all three kinds, some of one component and some of a component
// each. `scripts/test threads` runs it under the thread sanitizer, which finds what they share.
#include <atomic>
#include <iostream>
#include <thread>
#include <vector>

#include "Sites.h"

using namespace vqloan::test;

// The C library's lock around its time zone is its own, and not seen.
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions()
{
    return "race:tzset_internal\n";
}

int main()
{
    Sites shared;
    const Client loaded = shared.site.client(); // before there are threads
    std::atomic<int> wrong = 0;
    const auto work = [&] {
        Sites own;
        for (int kind = 0; kind < 3; ++kind)
            for (Sites* sites : {&shared, &own}) {
                if (sites == &shared && kind != 0)
                    continue; // two clients of one number would take each other's answers
                Client desk = sites->site.client();
                const Kind& asked = sites->kinds[kind];
                wrong += desk.open(asked.name);
                for (int turn = 0; turn < 100; ++turn) {
                    if (asked.beforeAsk)
                        asked.beforeAsk();
                    if (asked.pendingEvent)
                        postEvent(asked.pendingEvent);
                    wrong += desk.ask(asked.question) != asked.answer;
                    wrong += desk.failure().number != 0;
                }
            }
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back(work);
    for (std::thread& thread : threads)
        thread.join();
    if (wrong != 0)
        std::cerr << wrong << " wrong answers\n";
    return wrong == 0 ? 0 : 1;
}
