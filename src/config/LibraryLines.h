// The library lines of CLIENT.PAR, as the opening reads them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "component/DispSvr.h"

namespace vqloan::settings {

// Stores a library line's fields in that row (from 0). RuntimeError 9, before anything is stored, for a row
// that the table does not have.
void storeLibraryLine(LibraryTable& table, std::size_t row, std::u16string_view line);

// Loads the library lines of the file open under that number, their key in any letter case and nothing
// trimmed, into the table from its first row on. The line in front of the first library line of a run may
// name the skipped group, "group=answer text"; the last such line counts. Rows after the last one keep what
// they held.
void loadLibraryLines(std::int32_t fileNo, LibraryTable& table, std::u16string& skipCode,
                      std::u16string& skipText);

} // namespace vqloan::settings
