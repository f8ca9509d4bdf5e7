#include "platform/runtime/Variant.h"

#include <cstring>
#include <utility>

#include "platform/automation/VariantLayout.h"
#include "platform/runtime/Bstr.h"
#include "platform/runtime/RuntimeError.h"
#include "platform/runtime/Text.h"

namespace vqloan {

namespace {

// The one place where a failed automation function becomes a failure of the runtime.
void check(HRESULT result)
{
    if (SUCCEEDED(result))
        return;
    switch (result) {
    case DISP_E_TYPEMISMATCH:
    case DISP_E_BADVARTYPE:
        throw RuntimeError(Failure::TypeMismatch);
    case DISP_E_OVERFLOW:
        throw RuntimeError(Failure::Overflow);
    case E_OUTOFMEMORY:
        throw RuntimeError(Failure::OutOfMemory);
    default:
        throw RuntimeError(result, std::u16string(describe(result)));
    }
}

// A by-reference VARIANT argument may hold a by-reference value in turn.
const VARIANT& followVariant(const VARIANT& value) noexcept
{
    return value.vt == (VT_BYREF | VT_VARIANT) && value.pvarVal ? *value.pvarVal : value;
}

// Some headers of the system declare what is only read without const.
VARIANTARG* readOnly(const VARIANT& value) noexcept
{
    return const_cast<VARIANTARG*>(&value);
}

Variant converted(const VARIANT& value, VARTYPE type)
{
    if (followVariant(value).vt == VT_NULL)
        throw RuntimeError(Failure::InvalidUseOfNull);
    Variant result;
    check(VariantChangeType(result.address(), readOnly(value), VARIANT_ALPHABOOL, type));
    return result;
}

void assignThrough(VARIANT& argument, const Variant& value)
{
    if (!argument.byref)
        throw RuntimeError(Failure::TypeMismatch);
    if (argument.vt == (VT_BYREF | VT_VARIANT)) {
        if (argument.pvarVal->vt == argument.vt) // no more references than the conversions follow
            throw RuntimeError(Failure::TypeMismatch);
        return Variant::assign(*argument.pvarVal, value);
    }
    const auto type = static_cast<VARTYPE>(argument.vt & ~VT_BYREF);
    const std::size_t bytes = automation::bytesOf(type);
    if (bytes == 0)
        throw RuntimeError(Failure::TypeMismatch);

    // What stood there before goes last: its release may run code that looks at the variable.
    VARIANT before;
    VariantInit(&before);
    before.vt = type;
    std::memcpy(&before.llVal, argument.byref, bytes);
    VARIANT after = converted(value.get(), type).release();
    std::memcpy(argument.byref, &after.llVal, bytes);
    VariantClear(&before);
}

} // namespace

Variant::Variant(std::int16_t value) noexcept : Variant()
{
    value_.vt = VT_I2;
    value_.iVal = value;
}

Variant::Variant(std::int32_t value) noexcept : Variant()
{
    value_.vt = VT_I4;
    value_.lVal = value;
}

Variant::Variant(std::int64_t value) noexcept : Variant()
{
    value_.vt = VT_I8;
    value_.llVal = value;
}

Variant::Variant(double value) noexcept : Variant()
{
    value_.vt = VT_R8;
    value_.dblVal = value;
}

Variant::Variant(std::u16string_view text) : Variant()
{
    value_.bstrVal = Bstr(text).release();
    value_.vt = VT_BSTR;
}

Variant Variant::fromDate(double days) noexcept
{
    Variant result(days);
    result.value_.vt = VT_DATE;
    return result;
}

Variant Variant::integer(std::int64_t value) noexcept
{
    return std::in_range<std::int32_t>(value) ? Variant(static_cast<std::int32_t>(value)) : Variant(value);
}

Variant Variant::null() noexcept
{
    Variant result;
    result.value_.vt = VT_NULL;
    return result;
}

Variant Variant::missing() noexcept
{
    Variant result;
    result.value_.vt = VT_ERROR;
    result.value_.scode = DISP_E_PARAMNOTFOUND;
    return result;
}

Variant Variant::copyOf(const VARIANT& source)
{
    Variant result;
    check(VariantCopyInd(&result.value_, readOnly(source)));
    return result;
}

Variant::Variant(const Variant& other) : Variant()
{
    check(VariantCopy(&value_, readOnly(other.value_)));
}

Variant::Variant(Variant&& other) noexcept : value_(other.release()) {}

Variant& Variant::operator=(Variant other) noexcept
{
    std::swap(value_, other.value_);
    return *this;
}

bool Variant::isMissing(const VARIANT& value) noexcept
{
    return value.vt == VT_ERROR && value.scode == DISP_E_PARAMNOTFOUND;
}

std::int16_t Variant::toInteger() const
{
    return value_.vt == VT_I2 ? value_.iVal : converted(value_, VT_I2).value_.iVal;
}

std::int32_t Variant::toLong() const
{
    return value_.vt == VT_I4 ? value_.lVal : converted(value_, VT_I4).value_.lVal;
}

// Every value of a database column comes through here: the usual types must not pay for a VARIANT in between.
std::u16string Variant::toText() const
{
    switch (value_.vt) {
    case VT_EMPTY:
        return {};
    case VT_BSTR:
        return std::u16string(viewOf(value_.bstrVal));
    case VT_I2:
        return text::decimal(value_.iVal);
    case VT_I4:
        return text::decimal(value_.lVal);
    case VT_I8:
        return text::decimal(value_.llVal);
    default:
        return std::u16string(viewOf(converted(value_, VT_BSTR).value_.bstrVal));
    }
}

double Variant::toDate() const
{
    return value_.vt == VT_DATE ? value_.date : converted(value_, VT_DATE).value_.date;
}

VARIANT Variant::release() noexcept
{
    VARIANT result = value_;
    VariantInit(&value_);
    return result;
}

void Variant::assign(VARIANT& argument, const Variant& value)
{
    if (argument.vt & VT_BYREF)
        assignThrough(argument, value);
    else
        check(VariantCopy(&argument, readOnly(value.value_)));
}

} // namespace vqloan
