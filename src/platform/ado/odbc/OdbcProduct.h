// What must be known of a database's product and driver to use it safely and fast.
#pragma once

#include "platform/ado/odbc/OdbcHandle.h"

namespace vqloan::odbc {

struct Product
{
    // Whether a compiled statement may be run again, its columns still being what they were. Many drivers go
    // on telling the columns of the first run, whatever becomes of the table.
    bool keepsStatements = false;
    // Whether texts reach it as they are. If not, only ASCII is safe.
    bool takesWideText = false;
    // Whether its driver ends a statement that takes too long.
    bool keepsTimeLimits = false;
};

// Asks an open connection; it costs a round trip.
Product productOf(const Database& database);

} // namespace vqloan::odbc
