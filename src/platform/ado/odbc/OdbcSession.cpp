#include "platform/ado/AdoFailure.h"
#include "platform/ado/Provider.h"

namespace vqloan {

// The provider is being written; until it is there an ODBC connection is refused.
std::shared_ptr<Session> openOdbc(const OpenRequest&)
{
    throw ado::providerNotFound(u"MSDASQL");
}

} // namespace vqloan
