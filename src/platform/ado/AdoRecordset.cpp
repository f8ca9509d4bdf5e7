#include "platform/ado/AdoRecordset.h"

#include "platform/ado/AdoConnection.h"
#include "platform/ado/AdoFailure.h"

namespace vqloan {

namespace {

using ado::Misuse;

RuntimeError failure(Misuse misuse)
{
    return ado::failure(misuse, std::u16string(ado::recordsetSource));
}

} // namespace

void AdoRecordset::Open(std::u16string_view source, const std::shared_ptr<Connection>& activeConnection,
                        std::int32_t, std::int32_t, std::int32_t)
{
    if (cursor_)
        throw failure(Misuse::ObjectOpen);
    const auto* connection = dynamic_cast<AdoConnection*>(activeConnection.get());
    session_ = connection ? connection->session() : nullptr;
    if (!session_)
        throw failure(Misuse::ConnectionInvalid);
    CursorOwner cursor = session_->run(source, connection->commandTimeout());
    eof_ = !cursor->next();
    cursor_ = std::move(cursor);
}

void AdoRecordset::Close()
{
    if (!cursor_)
        throw failure(Misuse::ObjectClosed);
    fields_.clear();
    cursor_.reset();
    session_.reset();
}

bool AdoRecordset::Eof()
{
    running();
    return eof_;
}

void AdoRecordset::MoveNext()
{
    Cursor& cursor = running();
    if (eof_)
        throw failure(Misuse::NoCurrentRow);
    eof_ = true; // also when the step fails: the row before it is gone
    eof_ = !cursor.next();
}

Field& AdoRecordset::Item(std::u16string_view name)
{
    const auto column = running().columns().find(name);
    if (!column) {
        RuntimeError error = failure(Misuse::ItemNotFound);
        error.description.append(u" (").append(name).append(u")");
        throw error;
    }
    return field(*column);
}

Field& AdoRecordset::Item(std::int32_t position)
{
    if (position < 0 || static_cast<std::size_t>(position) >= running().columns().count())
        throw failure(Misuse::ItemNotFound);
    return field(static_cast<std::size_t>(position));
}

Variant AdoRecordset::ColumnField::Value()
{
    Cursor& cursor = recordset_.running();
    if (recordset_.eof_)
        throw failure(Misuse::NoCurrentRow);
    return cursor.value(column_);
}

Cursor& AdoRecordset::running()
{
    if (!cursor_ || !session_->isOpen())
        throw failure(Misuse::ObjectClosed);
    return *cursor_;
}

Field& AdoRecordset::field(std::size_t column)
{
    if (fields_.empty()) {
        const std::size_t count = cursor_->columns().count();
        fields_.reserve(count);
        for (std::size_t i = 0; i < count; ++i)
            fields_.emplace_back(*this, i);
    }
    return fields_[column];
}

} // namespace vqloan
