// A lock on a name in a directory that several programs share.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>

namespace vqloan::program {

// A file that lies there while the lock is held, and goes with it; of a program that was killed it stays, and
// the next one takes it over. The file tells the process that holds it.
class FileLock
{
public:
    // Nothing when another program holds it, and when it is held in this one. Throws std::system_error when
    // the file can be neither made nor opened, is no regular file, or was left by another account and cannot
    // be removed.
    static std::optional<FileLock> tryTake(const std::filesystem::path& file);
    // Whether a program that runs holds it; false where there is no such file. For as long as this looks, a
    // program that wants the lock takes it for held.
    static bool isHeld(const std::filesystem::path& file) noexcept;
    // Who holds it, as it was written there: "process 4711"; empty when nothing can be read. Another
    // program's text: not to be shown as it is.
    static std::string holder(const std::filesystem::path& file);

    ~FileLock();
    FileLock(FileLock&& other) noexcept
        : file_(std::move(other.file_)), handle_(std::exchange(other.handle_, none))
    {}
    FileLock& operator=(FileLock&& other) noexcept
    {
        std::swap(file_, other.file_);
        std::swap(handle_, other.handle_);
        return *this;
    }

private:
    static constexpr std::intptr_t none = -1;
    FileLock(std::filesystem::path file, std::intptr_t handle) : file_(std::move(file)), handle_(handle) {}

    std::filesystem::path file_;
    std::intptr_t handle_;
};

} // namespace vqloan::program
