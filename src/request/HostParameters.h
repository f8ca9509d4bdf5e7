// CLIENT.PAR as the legacy host call reads it: the parameter lines, then the library lines.
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
    std::u16string directory;    // ends in its path separator
    Int16 width;                 // of an answer, plus 2
    std::u16string timeOutText;
    std::u16string emptyText;
    std::u16string localKey;    // library code that the host is not asked about,
    std::u16string localAnswer; // and what is answered for it
};

// Reads the lines 1 to 14 of the file open under that number. 62 for a missing line, 6 for a number out of
// range, 5 for a line 14 without "=".
HostParameters readHostParameters(std::int32_t fileNo);

// Reads the lines that follow. Those that begin with "codbib=", in lower case and trimmed, go into the table
// from its first row on. Gives their number. 9 when the table has no row left.
std::size_t readHostLibraries(std::int32_t fileNo, LibraryTable& table);

} // namespace vqloan
