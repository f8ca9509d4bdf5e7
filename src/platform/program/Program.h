// What a program at a terminal needs of the operating system.
#pragma once

#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

namespace vqloan::program {

// The running program's own file, absolute, links resolved.
std::filesystem::path file();

// Files that are to go when the user or the system ends the program before it has removed them itself. Each
// call replaces the former one. On Windows a file that is open stays.
void removeWhenEnded(const std::vector<std::filesystem::path>& files);

// The words of the command line in UTF-8, this program's name first.
std::vector<std::string> commandLine(int argc, char** argv);

// The standard streams take and give bytes as they are, and a terminal shows UTF-8 whatever its code page. To
// be called once, before anything is written.
void prepareStreams();

// Ends the program where threads of it are not to be waited for, and runs nothing else. What is to be written
// has been flushed: a thread that still writes to somebody who does not read would be waited for.
[[noreturn]] void endNow(int status) noexcept;

// A new directory in `parent` that nobody else may look into: `prefix` and a name that nobody can foresee.
// Throws std::system_error.
std::filesystem::path makePrivateDirectory(const std::filesystem::path& parent, const std::string& prefix);

// Renames a file, in the place of one that has the new name already.
std::error_code rename(const std::filesystem::path& from, const std::filesystem::path& to) noexcept;

// Whether that failed because another program has the file open, as Windows refuses it.
bool isInUse(std::error_code error) noexcept;

enum class Stream
{
    output = 1,
    errors = 2
};
// Columns of the terminal that the stream goes to; 0 when it goes elsewhere.
int terminalColumns(Stream stream) noexcept;

// Of a shared library's file name, with the dot.
extern const char* const libraryExtension;

// A loaded shared library; unloaded at the end, so whatever came out of it has to be gone by then.
class Library
{
public:
    // Throws std::runtime_error with the system's reason.
    explicit Library(const std::filesystem::path& file);
    ~Library();
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    // Throws std::runtime_error when the library exports no function of that name.
    template <class Function> Function function(const char* name) const
    {
        return reinterpret_cast<Function>(address(name));
    }

private:
    void* address(const char* name) const;

    std::filesystem::path file_;
    void* handle_;
};

} // namespace vqloan::program
