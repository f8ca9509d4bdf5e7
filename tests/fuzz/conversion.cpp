// Conversions of values: what a text becomes is written and read again as the same.
#include <cmath>

#include "Input.h"
#include "platform/runtime/Variant.h"

using namespace vqloan;
using namespace vqloan::test;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr VARTYPE types[] = {VT_I2, VT_I4, VT_I8, VT_R4, VT_R8, VT_BOOL, VT_CY, VT_DATE, VT_UI1, VT_UI8};
    Input input(data, size);
    const VARTYPE type = types[input.byte() % std::size(types)];
    const auto flags = static_cast<USHORT>(input.byte() % 4 == 0 ? VARIANT_ALPHABOOL : 0);
    const Variant given(text::fromUtf8(input.rest()));
    Variant value, text, again;
    const auto change = [flags](Variant& to, const Variant& from, VARTYPE target) {
        return VariantChangeType(to.address(), const_cast<VARIANT*>(&from.get()), flags, target);
    };
    if (FAILED(change(value, given, type)))
        return 0;
    expect(value.get().vt == type, "type");
    expect(SUCCEEDED(change(text, value, VT_BSTR)) && SUCCEEDED(change(again, text, type)), "text",
           text.toText());
    if (type == VT_R4 || type == VT_R8 || type == VT_DATE)
        return 0; // fewer digits than the value has
    expect(again.get().llVal == value.get().llVal, "read again", text.toText());
    return 0;
}
