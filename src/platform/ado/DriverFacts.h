// What a connection's driver does not do, for those who set a site up.
#pragma once

#include "external/Ado.h"

namespace vqloan::ado {

// False where a statement's time limit is known not to be kept. The connection is open.
bool keepsTimeLimits(const Connection& connection);

} // namespace vqloan::ado
