#include "platform/ado/DriverFacts.h"

#include "platform/ado/AdoConnection.h"

namespace vqloan::ado {

bool keepsTimeLimits(const Connection& connection)
{
    const auto* const own = dynamic_cast<const AdoConnection*>(&connection);
    const auto session = own ? own->session() : nullptr;
    return !session || session->keepsTimeLimits();
}

} // namespace vqloan::ado
