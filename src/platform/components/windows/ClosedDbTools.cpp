#include "platform/ado/windows/SystemAdo.h"
#include "platform/components/windows/ClosedComponents.h"
#include "platform/runtime/RuntimeError.h"
#include "platform/runtime/windows/LateBound.h"

namespace vqloan::closed {
namespace {

constexpr CLSID dbToolsClass{0xD9C28A58, 0xB819, 0x4EDB, {0x84, 0x0D, 0xC9, 0x22, 0x20, 0x00, 0xDD, 0x43}};

// The ADO object behind a contract: every one on Windows has one.
template <class Ado, class Contract> ComPtr<IDispatch> objectOf(Contract* contract)
{
    const auto* const ado = dynamic_cast<Ado*>(contract);
    return ado ? ado->get() : ComPtr<IDispatch>();
}

class ClosedDbTools final : public DbTools
{
public:
    explicit ClosedDbTools(LateBound object) noexcept : object_(std::move(object)) {}

    Variant FieldValue(Field& field, std::int32_t zero) override
    {
        LentObject lent(static_cast<SystemField&>(field).get());
        return object_.call(L"FieldValue", {lent.lend(), argument::byReference(zero)});
    }

    void CloseRecordset(std::unique_ptr<Recordset>& recordset) override
    {
        closeThrough<SystemRecordset>(L"CloseRecordset", recordset);
    }

    void CloseConn(std::shared_ptr<Connection>& connection) override
    {
        closeThrough<SystemConnection>(L"CloseConn", connection);
    }

private:
    // Afterwards the caller holds what the callee left, normally nothing.
    template <class Ado, class Owner> void closeThrough(LPCOLESTR member, Owner& owner)
    {
        const ComPtr<IDispatch> before = objectOf<Ado>(owner.get());
        LentObject lent(before);
        object_.call(member, {lent.lend()});
        if (ComPtr<IDispatch> left = lent.takeBack(); !left)
            owner.reset();
        else if (left.get() != before.get())
            owner = Owner(new Ado(LateBound(std::move(left))));
    }

    LateBound object_;
};

} // namespace

std::unique_ptr<DbTools> createDbTools()
{
    auto object = LateBound::createIfRegistered(dbToolsClass);
    return object ? std::make_unique<ClosedDbTools>(std::move(*object)) : nullptr;
}

} // namespace vqloan::closed
