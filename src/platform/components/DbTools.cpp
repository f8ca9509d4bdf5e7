#include "platform/components/DbTools.h"

#include <utility>

namespace vqloan::standins {

Variant DbTools::FieldValue(Field& field, std::int32_t)
{
    Variant value = field.Value();
    if (value.isNull())
        return u"";
    return value;
}

void DbTools::CloseRecordset(std::unique_ptr<Recordset>& recordset)
{
    recordset.reset();
}

void DbTools::CloseConn(std::shared_ptr<Connection>& connection)
{
    const std::shared_ptr<Connection> released = std::exchange(connection, nullptr);
    // More than "open" may be set while a statement still runs.
    if (released && (released->State() & ado::stateOpen) != 0)
        released->Close();
}

} // namespace vqloan::standins
