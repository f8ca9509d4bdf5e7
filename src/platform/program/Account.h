// Who runs the program, and who may do what in a directory that several accounts share.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace vqloan::program {

// The account's name, or its number where it has none.
std::string accountName();

struct Sharing
{
    bool byGroup = false;     // the directory's group may make and delete files there
    bool byEverybody = false; // and so may every account
    bool onlyOwn = false;     // but each only its own files
    bool filesLeave = false;  // what this account makes there belongs to another group than the directory
    bool groupReads = true;   // the directory's group may read what this account makes, going by its umask
};
// Nothing where there is no such directory, and where modes do not say who may do what, as on Windows.
std::optional<Sharing> sharingOf(const std::filesystem::path& directory);

// Whether every account may write to the file, or make and replace files in the directory. False where modes
// do not say so.
bool mayAllWrite(const std::filesystem::path& path);
// Whether this account may; a link is not followed.
bool mayWrite(const std::filesystem::path& file);

} // namespace vqloan::program
