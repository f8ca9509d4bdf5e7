#include "platform/program/Signals.h"

#include <signal.h>

namespace vqloan::program {

namespace {

sigset_t awaited()
{
    sigset_t set;
    sigemptyset(&set);
    for (const int number : {SIGHUP, SIGINT, SIGTERM})
        sigaddset(&set, number);
    return set;
}

} // namespace

Signals::Signals()
{
    // Ignored, as where a shell has started the program in the background, it would not come at all.
    signal(SIGINT, SIG_DFL);
    // Writing where nobody reads any more fails, and ends nothing.
    signal(SIGPIPE, SIG_IGN);
    const sigset_t set = awaited();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

Told Signals::wait(std::chrono::milliseconds limit)
{
    const sigset_t set = awaited();
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(limit);
    const timespec time{seconds.count(), std::chrono::nanoseconds(limit - seconds).count()};
    const int number = sigtimedwait(&set, nullptr, &time);
    if (number < 0)
        return Told::nothing;
    return number == SIGHUP ? Told::reload : Told::end;
}

} // namespace vqloan::program
