// The subcommands. Each adds itself to the program's command line; when it is chosen it runs, throws
// std::exception for what it cannot do, and leaves the program's exit status.
#pragma once

#include <CLI/CLI.hpp>

namespace vqloan::client {

void addAsk(CLI::App& program, int& status);
void addCheck(CLI::App& program, int& status);
void addGateway(CLI::App& program, int& status);
void addHost(CLI::App& program, int& status);
void addRegister(CLI::App& program, int& status); // and unregister

// Exit statuses.
inline constexpr int allWell = 0;
inline constexpr int someFailed = 1;
inline constexpr int nothingDone = 2;

} // namespace vqloan::client
