#include "platform/ado/windows/SystemAdo.h"

#include <algorithm>

#include "platform/ado/Passwords.h"
#include "platform/runtime/RuntimeError.h"

namespace vqloan {

void SystemConnection::ConnectionTimeout(std::int32_t seconds)
{
    object_.put(L"ConnectionTimeout", argument::value(seconds));
}

void SystemConnection::CommandTimeout(std::int32_t seconds)
{
    object_.put(L"CommandTimeout", argument::value(seconds));
}

void SystemConnection::CursorLocation(std::int32_t location)
{
    object_.put(L"CursorLocation", argument::value(location));
}

void SystemConnection::Open(const std::u16string& connectionString, const std::u16string& userId,
                            const std::u16string& password, std::int32_t options)
{
    const Bstr text(connectionString), user(userId), secret(password);
    try {
        object_.call(L"Open", {argument::value(text), argument::value(user), argument::value(secret),
                               argument::value(options)});
    } catch (RuntimeError& error) {
        ado::hidePasswords(error, connectionString, password);
        throw;
    }
}

void SystemConnection::Close()
{
    object_.call(L"Close");
}

std::int32_t SystemConnection::State()
{
    return object_.get(L"State").toLong();
}

Variant SystemField::Value()
{
    return object_.get(L"Value");
}

SystemRecordset::~SystemRecordset()
{
    try {
        if (open_)
            Close();
    } catch (...) { // nobody is left to be told
    }
}

void SystemRecordset::Open(std::u16string_view source, const std::shared_ptr<Connection>& activeConnection,
                           std::int32_t cursorType, std::int32_t lockType, std::int32_t options)
{
    fields_.clear();
    const Bstr statement(source);
    const auto* const connection = dynamic_cast<SystemConnection*>(activeConnection.get());
    if (!connection)
        throw RuntimeError(Failure::ObjectNotSet);
    object_.call(L"Open", {argument::value(statement), argument::value(connection->get()),
                           argument::value(cursorType), argument::value(lockType), argument::value(options)});
    open_ = true;
}

void SystemRecordset::Close()
{
    open_ = false;
    fields_.clear();
    object_.call(L"Close");
}

bool SystemRecordset::Eof()
{
    return object_.get(L"EOF").toLong() != 0;
}

void SystemRecordset::MoveNext()
{
    object_.call(L"MoveNext");
}

Field& SystemRecordset::Item(std::u16string_view name)
{
    return item(Variant(name));
}

Field& SystemRecordset::Item(std::int32_t position)
{
    return item(Variant(position));
}

Field& SystemRecordset::item(const Variant& index)
{
    std::u16string text = index.toText();
    const auto known = std::ranges::find(fields_, text, &Known::index);
    if (known != fields_.end())
        return known->field;
    LateBound found = object_.object(L"Fields").object(L"Item", {argument::value(index)});
    return fields_.emplace_back(Known{std::move(text), SystemField(std::move(found))}).field;
}

// What a database shows of its changes is its own provider's matter here.
OneState::OneState() : outer_(nullptr) {}
OneState::~OneState() = default;

} // namespace vqloan
