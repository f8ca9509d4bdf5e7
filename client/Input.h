// Whole files.
#pragma once

#include <filesystem>
#include <string>

namespace vqloan::client {

// Throws std::runtime_error, which names the file.
std::string readFile(const std::filesystem::path& file);

} // namespace vqloan::client
