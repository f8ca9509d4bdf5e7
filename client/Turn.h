// A client number's turn to ask.
#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <vector>

#include "Site.h"
#include "platform/program/FileLock.h"
#include "site/Kind.h"

namespace vqloan::client {

// Two clients with one number would take each other's answers, and so would one that follows another that was
// interrupted. While this lives, no other `vqloan` asks with the site's client number; it began without an
// answer that lay there for an earlier question; and when the program is interrupted, neither a request nor
// an answer of this number stays behind.
class Turn
{
public:
    // Waits at most `limit` for another one to end; then throws std::runtime_error, which says who holds it,
    // or why it cannot be had.
    // For a kind without exchange files, and where the exchange directory is not there or nothing can be made
    // in it, which fails each question anyway, this does nothing.
    Turn(const Site& site, site::Kind kind, std::chrono::seconds limit);

    // Those that are to go, for a program that ends without ending its turn.
    const std::vector<std::filesystem::path>& files() const noexcept { return files_; }

private:
    std::optional<program::FileLock> lock_;
    std::vector<std::filesystem::path> files_;
};

} // namespace vqloan::client
