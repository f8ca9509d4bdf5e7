// Files as the operating system gives them; implemented once per system, in posix/ and windows/. Paths are
// native ones in UTF-16. Failures are RuntimeErrors (53, 57, 61, 67, 70, 75, 76) with the system's error as
// lastDllError.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

namespace vqloan::os {

// What tells one version of a file from another. Times in nanoseconds since 1970, as coarse as the file
// system's.
struct FileState
{
    std::uint64_t device = 0;
    std::uint64_t file = 0; // which one on the device
    std::int64_t size = 0;
    std::int64_t modified = 0;
    std::int64_t changed = 0;
    bool operator==(const FileState&) const = default;
};

// An open file; the destructor closes it and ignores failures. Child processes do not inherit it.
class File
{
public:
    enum class Mode
    {
        Read,
        Write
    };

    // Opens for reading, or creates or empties for writing. A directory opened for reading fails with the
    // first read.
    File(std::u16string_view path, Mode mode);
    ~File();
    File(File&& other) noexcept : handle_(std::exchange(other.handle_, noHandle)) {}
    File& operator=(File&&) = delete;

    // Opens for reading; nothing where that fails. For what is looked for again and again, where a failure
    // each time would cost more than the look.
    static std::optional<File> tryOpen(std::u16string_view path);

    // Number of bytes read; 0 at the end of the file.
    std::size_t read(char* buffer, std::size_t size);
    // Writes everything or fails.
    void write(std::string_view bytes);
    // Closes; the file is closed even when that fails.
    void close();
    FileState state() const;

private:
    static constexpr std::intptr_t noHandle = -1;
    explicit File(std::intptr_t handle) noexcept : handle_(handle) {}

    std::intptr_t handle_;
};

void removeFile(std::u16string_view path);

// Never fail: no such file, or none that can be asked about, is an answer too.
std::optional<FileState> stateOf(std::u16string_view path);
// A regular file that this process may read.
bool isReadableFile(std::u16string_view path);

// What stands between the names of a path, the usual one first.
std::u16string_view separators() noexcept;

} // namespace vqloan::os
