#include "platform/ado/DriverFacts.h"

namespace vqloan::ado {

// The system's ADO does not tell.
bool keepsTimeLimits(const Connection&)
{
    return true;
}

} // namespace vqloan::ado
