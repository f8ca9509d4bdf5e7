// An ADO connection text in ODBC's words.
#pragma once

#include <string>

#include "platform/ado/Provider.h"

namespace vqloan::odbc {

// ADO's own keys become ODBC's (Data Source: DSN, User ID: UID, Password: PWD, Initial Catalog: DATABASE),
// what stands in Extended Properties counts as if it stood in the text, and all other keys are the driver's.
// A user or password given beside the text wins over one in it.
std::u16string connectionText(const OpenRequest& request);

} // namespace vqloan::odbc
