// The component's ADO objects on this system: the system's own.
#include "platform/ado/windows/SystemAdo.h"

namespace vqloan {

std::shared_ptr<Connection> createConnection()
{
    return std::make_shared<SystemConnection>(LateBound::create(L"ADODB.Connection"));
}

std::unique_ptr<Recordset> createRecordset()
{
    return std::make_unique<SystemRecordset>(LateBound::create(L"ADODB.Recordset"));
}

} // namespace vqloan
