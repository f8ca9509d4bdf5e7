// The closed database helper, as far as the component calls it. One instance per thread, created on first use
// and released by nobody. Every operation may fail with a RuntimeError.
#pragma once

#include <cstdint>
#include <memory>

#include "external/Ado.h"
#include "platform/runtime/Variant.h"

namespace vqloan {

class DbTools
{
public:
    virtual ~DbTools() = default;
    // The field's value in the current row; the empty text where it is NULL. `zero` is always 0.
    virtual Variant FieldValue(Field& field, std::int32_t zero) = 0;
    // Closes an open recordset and releases it; accepts an empty reference.
    virtual void CloseRecordset(std::unique_ptr<Recordset>& recordset) = 0;
    // Closes an open connection and releases it, leaving the reference that the caller is to keep (normally
    // null); accepts null.
    virtual void CloseConn(std::shared_ptr<Connection>& connection) = 0;
};

// The calling thread's instance.
DbTools& dbTools();

} // namespace vqloan
