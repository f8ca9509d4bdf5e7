// Stands in for the closed database helper.
#pragma once

#include "external/DbTools.h"

namespace vqloan::standins {

class DbTools : public vqloan::DbTools
{
public:
    Variant FieldValue(Field& field, std::int32_t zero) override;
    // A failure to close is not told: nobody could do anything about it.
    void CloseRecordset(std::unique_ptr<Recordset>& recordset) override;
    // The reference is null afterwards, even when closing fails.
    void CloseConn(std::shared_ptr<Connection>& connection) override;
};

} // namespace vqloan::standins
