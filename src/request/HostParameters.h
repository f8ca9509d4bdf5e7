// CLIENT.PAR as the legacy host call reads it: fourteen parameter lines by position, then the library lines.
//
//    1  client number                                       11  time-out text
//    2  wait limit, in seconds                              12  empty-answer text
//    3  exchange directory, ending in its path separator    14  "local key=local answer"
//    6  answer width                                        4, 5, 7 to 10, 13  read, not used
//
// The value of a line is what follows its first "=", or the whole line without one.
#pragma once

#include <cstdint>
#include <string>

#include "component/DispSvr.h"
#include "platform/runtime/Int16.h"

namespace vqloan {

struct HostParameters
{
    std::u16string clientNumber; // two characters
    float waitLimit = 0;         // seconds
    std::u16string directory;
    Int16 width; // answers are cut to this less 2
    std::u16string timeOutText;
    std::u16string emptyText;
    std::u16string localKey;    // a library code that is answered here,
    std::u16string localAnswer; //   with this text
};

// Reads the lines 1 to 14 of the file open under that number. 62 for a missing line, 6 for a number out of
// range, 5 for a line 14 without "=".
HostParameters readHostParameters(std::int32_t fileNo);

// Reads the lines that follow; those that begin with "codbib=" (in lower case, after trimming) go into the
// table, from row 1. Gives their number. 9 when the table has no row left.
std::int32_t readHostLibraries(std::int32_t fileNo, LibraryTable& table);

} // namespace vqloan
