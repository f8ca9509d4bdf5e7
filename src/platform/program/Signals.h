// What the system tells a server that runs.
#pragma once

#include <chrono>

namespace vqloan::program {

enum class Told
{
    nothing,
    reload, // read the settings again: SIGHUP
    end     // SIGTERM or SIGINT; on Windows Ctrl-C, Ctrl-Break, the closing of the console or of the session
};

// From its making on, these signals end nothing, and wait tells of them. To be made once, before other
// threads begin, which would take signals away otherwise. A SIGHUP that is ignored, as under nohup, stays so.
class Signals
{
public:
    Signals();
    // The next one, as soon as it comes; `nothing` when `limit` passes.
    Told wait(std::chrono::milliseconds limit);
};

} // namespace vqloan::program
