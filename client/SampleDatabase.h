// The library database of the sample site.
#pragma once

#include <filesystem>
#include <span>

#include "SampleNetwork.h"

namespace vqloan::client::sample {

// Whether this build has the embedded database.
bool canMakeDatabase() noexcept;

// Makes the file, which must not be there, with the schema of the sample site. Throws std::runtime_error with
// the database's reason.
void makeDatabase(const std::filesystem::path& file, std::span<const Copy> copies);

} // namespace vqloan::client::sample
