// The Recordset over this project's own providers.
#pragma once

#include <vector>

#include "external/Ado.h"
#include "platform/ado/Provider.h"

namespace vqloan {

// Rows are read forward, once, as they come: whatever cursor and lock type is asked for.
class AdoRecordset final : public Recordset
{
public:
    void Open(std::u16string_view source, const std::shared_ptr<Connection>& activeConnection,
              std::int32_t cursorType, std::int32_t lockType, std::int32_t options) override;
    void Close() override;
    bool Eof() override;
    void MoveNext() override;
    Field& Item(std::u16string_view name) override;
    Field& Item(std::int32_t position) override;

private:
    class ColumnField final : public Field
    {
    public:
        ColumnField(AdoRecordset& recordset, std::size_t column) : recordset_(recordset), column_(column) {}
        Variant Value() override;

    private:
        AdoRecordset& recordset_;
        std::size_t column_;
    };

    Cursor& running();
    Field& field(std::size_t column);

    std::shared_ptr<Session> session_; // before the cursor, which it must outlive
    CursorOwner cursor_;
    bool eof_ = true;
    std::vector<ColumnField> fields_; // one per column; made when the first is asked for
};

} // namespace vqloan
