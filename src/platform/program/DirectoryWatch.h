// The system's notice that files have come into a directory.
#pragma once

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace vqloan::program {

// For any number of threads at once. A directory on another machine, or one that the system cannot watch,
// gives no notice; so whoever waits has to look by himself now and then, too.
class DirectoryWatch
{
public:
    // Never fails: what cannot be watched gives no notice.
    explicit DirectoryWatch(std::filesystem::path directory);
    ~DirectoryWatch();
    DirectoryWatch(const DirectoryWatch&) = delete;
    DirectoryWatch& operator=(const DirectoryWatch&) = delete;

    struct Notice
    {
        std::vector<std::string> names; // of files that were written and closed, or moved here, in this order
        bool lookAround = false;        // something came whose name the system did not tell
    };
    // What has come since a thread was told last, as soon as there is anything; nothing when `limit` passes
    // or wake is called. One notice goes to one thread.
    Notice wait(std::chrono::milliseconds limit);
    // Lets one thread go that waits, or else the next one that does.
    void wake() noexcept;
    // Watches the directory that has this name now, where it is not the one watched any more.
    void renew();

private:
    struct System;
    std::unique_ptr<System> system_;
};

} // namespace vqloan::program
