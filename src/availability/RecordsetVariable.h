// A recordset variable of an operation: used while it is empty, it makes a fresh recordset; on every way out
// it is handed to DbTools, empty or not, and a failure of that is ignored.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "external/Ado.h"
#include "external/DbTools.h"

namespace vqloan {

class RecordsetVariable
{
public:
    RecordsetVariable() = default;
    RecordsetVariable(const RecordsetVariable&) = delete;
    RecordsetVariable& operator=(const RecordsetVariable&) = delete;
    ~RecordsetVariable()
    {
        try {
            release();
        } catch (...) { // the answer stands already
        }
    }

    // Runs a statement and stands on its first row.
    void open(std::u16string_view statement, const std::shared_ptr<Connection>& connection)
    {
        if (!recordset_)
            recordset_ = createRecordset();
        recordset_->Open(statement, connection, ado::cursorDynamic, ado::lockReadOnly, ado::commandText);
    }
    void release() { dbTools().CloseRecordset(recordset_); }

    Recordset* operator->() const noexcept { return recordset_.get(); }
    // A field of the current row, by name or position; the empty text for NULL.
    template <class Column> Variant value(Column column) const
    {
        return dbTools().FieldValue(recordset_->Item(column), 0);
    }
    template <class Column> std::u16string text(Column column) const { return value(column).toText(); }

private:
    std::unique_ptr<Recordset> recordset_;
};

} // namespace vqloan
