#include "Input.h"

#include <fstream>
#include <stdexcept>

#include "platform/program/Paths.h"

namespace vqloan::client {

std::string readFile(const std::filesystem::path& file)
{
    std::ifstream in(file, std::ios::binary);
    const bool isOpen = static_cast<bool>(in);
    std::string all;
    char piece[64 * 1024];
    while (in.read(piece, sizeof piece), in.gcount() > 0)
        all.append(piece, static_cast<std::size_t>(in.gcount()));
    if (!isOpen || in.bad()) // a directory opens, and then fails to be read
        throw std::runtime_error("cannot read " + program::utf8Of(file));
    return all;
}

} // namespace vqloan::client
