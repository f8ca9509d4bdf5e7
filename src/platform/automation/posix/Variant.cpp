// The life of a VARIANT: what it owns is freed and copied here.
#include <cstring>

#include "platform/automation/VariantLayout.h"
#include "platform/automation/posix/Dereference.h"

namespace automation {

namespace {

// Arrays, records and the types of type descriptions are not.
bool isSupported(VARTYPE type) noexcept
{
    if (type & VT_BYREF)
        return type == (VT_BYREF | VT_VARIANT) || bytesOf(type & ~VT_BYREF) > 0;
    return type == VT_EMPTY || type == VT_NULL || type == VT_DECIMAL || bytesOf(type) > 0;
}

bool holdsObject(const VARIANT& value) noexcept
{
    return (value.vt == VT_DISPATCH || value.vt == VT_UNKNOWN) && value.punkVal;
}

// Gives a value that was copied bit for bit its own text, or its own reference to the object.
HRESULT own(VARIANT& value) noexcept
{
    if (value.vt == VT_BSTR && value.bstrVal) {
        // By bytes: a BSTR may hold an odd number of them.
        value.bstrVal = SysAllocStringByteLen(reinterpret_cast<const char*>(value.bstrVal),
                                              SysStringByteLen(value.bstrVal));
        return value.bstrVal ? S_OK : E_OUTOFMEMORY;
    }
    if (holdsObject(value))
        value.punkVal->AddRef();
    return S_OK;
}

// Clears the destination only when the new value stands: the old one may be what keeps the source alive.
HRESULT replace(VARIANT& destination, VARIANT value) noexcept
{
    if (const HRESULT result = own(value); FAILED(result))
        return result;
    if (const HRESULT result = VariantClear(&destination); FAILED(result)) {
        VariantClear(&value);
        return result;
    }
    destination = value;
    return S_OK;
}

} // namespace

HRESULT dereference(const VARIANT& source, VARIANT& value) noexcept
{
    if (!isSupported(source.vt))
        return DISP_E_BADVARTYPE;
    if (!(source.vt & VT_BYREF)) {
        value = source;
        return S_OK;
    }
    if (!source.byref)
        return E_INVALIDARG;
    if (source.vt == (VT_BYREF | VT_VARIANT))
        return source.pvarVal->vt == source.vt ? E_INVALIDARG : dereference(*source.pvarVal, value);

    const auto type = static_cast<VARTYPE>(source.vt & ~VT_BYREF);
    const void* target = source.byref; // read first: `value` may be `source`
    VariantInit(&value);
    std::memcpy(&value.llVal, target, bytesOf(type));
    value.vt = type;
    return S_OK;
}

} // namespace automation

using namespace automation;

void VariantInit(VARIANTARG* variant)
{
    if (variant)
        *variant = {};
}

HRESULT VariantClear(VARIANTARG* variant)
{
    if (!variant)
        return E_INVALIDARG;
    if (!isSupported(variant->vt))
        return DISP_E_BADVARTYPE;
    // Empty before anything is released: the release may come back to this variant.
    const VARIANT before = *variant;
    variant->vt = VT_EMPTY;
    if (before.vt == VT_BSTR)
        SysFreeString(before.bstrVal);
    else if (holdsObject(before))
        before.punkVal->Release();
    return S_OK;
}

HRESULT VariantCopy(VARIANTARG* destination, const VARIANTARG* source)
{
    if (!destination || !source)
        return E_INVALIDARG;
    if (!isSupported(source->vt))
        return DISP_E_BADVARTYPE;
    return destination == source ? S_OK : replace(*destination, *source);
}

HRESULT VariantCopyInd(VARIANT* destination, const VARIANTARG* source)
{
    if (!destination || !source)
        return E_INVALIDARG;
    if (!(source->vt & VT_BYREF))
        return VariantCopy(destination, source);
    VARIANT value;
    const HRESULT result = dereference(*source, value);
    return FAILED(result) ? result : replace(*destination, value);
}
