// The component's ADO objects on this system: over the providers of this folder.
#include "platform/ado/AdoConnection.h"
#include "platform/ado/AdoRecordset.h"

namespace vqloan {

std::shared_ptr<Connection> createConnection()
{
    return std::make_shared<AdoConnection>();
}
std::unique_ptr<Recordset> createRecordset()
{
    return std::make_unique<AdoRecordset>();
}

} // namespace vqloan
