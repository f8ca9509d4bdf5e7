// What must be known of a database's product and driver to use it safely and fast.
#pragma once

#include "platform/ado/odbc/OdbcHandle.h"

namespace vqloan::odbc {

struct Product
{
    // Whether a compiled statement may be run again, and whether its columns are then still what they were. A
    // product that nothing is known of may describe them anew each time.
    bool keepsStatements = true, keepsColumns = false;
    // Whether texts reach it as they are. If not, only ASCII is safe.
    bool takesWideText = false;
};

Product productOf(const Database& database);

} // namespace vqloan::odbc
