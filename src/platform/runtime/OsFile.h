// Files as the operating system gives them; implemented once per system, in posix/ and windows/. Paths are
// native ones in UTF-16 (see pathText). Failures are RuntimeErrors (7, 52, 53, 57, 61, 67, 70, 75, 76) with
// the system's error as lastDllError.
//
// Only regular files are opened, and opening never waits: a FIFO, a device or a directory is 75.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
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
    // The same file, whatever was written to it.
    bool isSameFile(const FileState& other) const { return device == other.device && file == other.file; }
};

// Whose directory a file lies in. Where strangers may make files, a name may be a link to a file of the
// caller's: there no link is followed at the last name, which is 75.
enum class Place
{
    own,
    shared
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

    // Opens for reading, or creates or empties for writing.
    File(std::u16string_view path, Mode mode, Place place);
    ~File();
    File(File&& other) noexcept : handle_(std::exchange(other.handle_, noHandle)) {}
    File& operator=(File&&) = delete;

    // Opens for reading in a shared directory; nothing where that fails. For what is looked for again and
    // again, where a failure each time would cost more than the look.
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

// Whether another program keeps the file from being written or deleted now, which not every system knows.
bool isHeld(std::u16string_view path);

// Nothing where there is no file of that name, and only then.
std::optional<FileState> stateOf(std::u16string_view path);

// A path as text and back, without loss: where the system's names are bytes, one that is not UTF-8 becomes a
// lone surrogate, U+DC00 + byte.
std::u16string pathText(const std::filesystem::path& path);
std::filesystem::path nativePath(std::u16string_view text);

// What stands between the names of a path, the usual one first.
std::u16string_view separators() noexcept;

} // namespace vqloan::os
