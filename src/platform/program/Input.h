// Bytes that come in, from a file or from whatever the standard input is.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>

namespace vqloan::program {

class Input
{
public:
    // An empty path is the standard input. Throws std::system_error when the file cannot be opened.
    explicit Input(const std::filesystem::path& file);
    ~Input();
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;

    // What is there, as soon as there is anything: at most `size` bytes, 0 at the end. Throws
    // std::system_error when it cannot be read, as a directory cannot.
    std::size_t read(char* buffer, std::size_t size);
    // Of a regular file; nothing for others.
    std::optional<std::uint64_t> size() const;
    // Whether somebody types it.
    bool isTerminal() const;

private:
    int descriptor_ = 0;
};

} // namespace vqloan::program
