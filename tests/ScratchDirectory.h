// A directory of its own for one test, removed with everything in it.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

namespace vqloan::test {

class ScratchDirectory
{
public:
    ScratchDirectory() = default;
    ~ScratchDirectory()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;

    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }
    const std::filesystem::path& path() const { return path_; }
    // As the component's own functions want it.
    std::u16string file(const std::string& name) const { return (path_ / name).u16string(); }

private:
    static std::filesystem::path newDirectory()
    {
        for (std::random_device random;;) {
            auto path = std::filesystem::temp_directory_path() / ("vqloan-" + std::to_string(random()));
            if (std::filesystem::create_directory(path))
                return path;
        }
    }

    std::filesystem::path path_ = newDirectory();
};

inline void write(const std::filesystem::path& file, const std::string& bytes)
{
    std::ofstream(file, std::ios::binary) << bytes;
}

// The same; gives the file's path.
inline std::u16string writtenTo(const ScratchDirectory& directory, const std::string& name,
                                const std::string& bytes)
{
    write(directory / name, bytes);
    return directory.file(name);
}

inline std::string read(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

} // namespace vqloan::test
