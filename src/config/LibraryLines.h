// The library lines of CLIENT.PAR:
//
//   characters 1-7  "CODBIB="
//              8-9  library code      -> column 1 of the library table
//             11-12 group code        -> column 2
//             14-   library name      -> column 3
//
// Characters 10 and 13 divide the fields and are not looked at. Nothing is trimmed; a shorter line gives
// shorter or empty fields. The line before the first library line of a run may name the skipped group:
// "group=answer text".
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "component/DispSvr.h"

namespace vqloan::settings {

// Stores a library line's fields in the row. RuntimeError 9, before anything is stored, for a row that the
// table does not have.
void storeLibraryLine(LibraryTable& table, std::int32_t row, std::u16string_view line);

// Loads the library lines ("CODBIB=" in any letter case) of the file open under that number into the table,
// from row 1, and the last group line into the skipped group's code and text. Rows after the last one keep
// what they held.
void loadLibraryLines(std::int32_t fileNo, LibraryTable& table, std::u16string& skipCode,
                      std::u16string& skipText);

} // namespace vqloan::settings
