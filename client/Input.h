// Whole files and the standard input. Both throw std::runtime_error, which names what cannot be read.
#pragma once

#include <filesystem>
#include <string>

namespace vqloan::client {

std::string readFile(const std::filesystem::path& file);
std::string readStandardInput();

} // namespace vqloan::client
