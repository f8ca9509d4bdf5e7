#include "Input.h"

#include <cstdio>
#include <fstream>
#include <iostream>
#include <stdexcept>

namespace vqloan::client {

namespace {

// A directory, among others, opens and then fails to be read.
std::string readAll(std::istream& in, const std::string& name)
{
    const bool isOpen = static_cast<bool>(in);
    std::string all;
    char piece[64 * 1024];
    while (in.read(piece, sizeof piece), in.gcount() > 0)
        all.append(piece, static_cast<std::size_t>(in.gcount()));
    // A standard input that fails looks like one that has ended; only C's own stream tells.
    const bool inputFailed = &in == &std::cin && std::ferror(stdin);
    if (!isOpen || in.bad() || inputFailed)
        throw std::runtime_error("cannot read " + name);
    return all;
}

} // namespace

std::string readFile(const std::filesystem::path& file)
{
    std::ifstream in(file, std::ios::binary);
    return readAll(in, file.string());
}

std::string readStandardInput()
{
    return readAll(std::cin, "the standard input");
}

} // namespace vqloan::client
