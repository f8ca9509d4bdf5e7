// The system's own ADO objects behind the contracts of external/Ado.h.
#pragma once

#include <deque>
#include <memory>
#include <string>

#include "external/Ado.h"
#include "platform/runtime/windows/LateBound.h"

namespace vqloan {

// A connection is closed with its last reference.
class SystemConnection final : public Connection
{
public:
    explicit SystemConnection(LateBound object) noexcept : object_(std::move(object)) {}

    void ConnectionTimeout(std::int32_t seconds) override;
    void CommandTimeout(std::int32_t seconds) override;
    void CursorLocation(std::int32_t location) override;
    void Open(const std::u16string& connectionString, const std::u16string& userId,
              const std::u16string& password, std::int32_t options) override;
    void Close() override;
    std::int32_t State() override;

    const ComPtr<IDispatch>& get() const noexcept { return object_.get(); }

private:
    LateBound object_;
};

class SystemField final : public Field
{
public:
    explicit SystemField(LateBound object) noexcept : object_(std::move(object)) {}

    Variant Value() override;

    const ComPtr<IDispatch>& get() const noexcept { return object_.get(); }

private:
    LateBound object_;
};

class SystemRecordset final : public Recordset
{
public:
    explicit SystemRecordset(LateBound object) noexcept : object_(std::move(object)) {}
    ~SystemRecordset() override;

    void Open(std::u16string_view source, const std::shared_ptr<Connection>& activeConnection,
              std::int32_t cursorType, std::int32_t lockType, std::int32_t options) override;
    void Close() override;
    bool Eof() override;
    void MoveNext() override;
    Field& Item(std::u16string_view name) override;
    Field& Item(std::int32_t position) override;

    const ComPtr<IDispatch>& get() const noexcept { return object_.get(); }

private:
    Field& item(const Variant& index);

    LateBound object_;
    bool open_ = false;
    // Those handed out, whose values follow the current row. A deque, since references to them must hold.
    struct Known
    {
        std::u16string index;
        SystemField field;
    };
    std::deque<Known> fields_;
};

} // namespace vqloan
