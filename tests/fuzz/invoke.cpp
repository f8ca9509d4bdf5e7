// Calls by name with any arguments: what is not passed by reference is not written to, and nothing is lost.
#include <vector>

#include "Input.h"
#include "ScratchDirectory.h"
#include "component/face/DispSvrFace.h"
#include "component/face/Members.h"
#include "platform/runtime/Bstr.h"
#include "platform/runtime/ComPtr.h"
#include "platform/runtime/Variant.h"

using namespace vqloan;
using namespace vqloan::test;

namespace {

VARIANT reference(VARTYPE type, void* to)
{
    VARIANT value{};
    value.vt = static_cast<VARTYPE>(VT_BYREF | type);
    value.byref = to;
    return value;
}

// One argument, with the variables that it may refer to.
struct Argument
{
    explicit Argument(Input& input) : text(text::fromUtf8(input.piece('\n')))
    {
        const unsigned form = input.byte();
        if (form & 1)
            variable = text;
        nested = reference(VT_VARIANT, variable.address());
        VARIANT any{};
        any.vt = static_cast<VARTYPE>(form);
        const VARIANT forms[] = {text.get(),
                                 reference(VT_BSTR, &text.address()->bstrVal),
                                 reference(VT_VARIANT, variable.address()),
                                 reference(VT_VARIANT, &nested),
                                 reference(VT_I4, &number),
                                 Variant(number).get(),
                                 Variant::missing().get(),
                                 any};
        passed = forms[form / 2 % std::size(forms)];
    }

    Variant text, variable = std::int32_t{7};
    LONG number = 7;
    VARIANT nested, passed;
};

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const ScratchDirectory directory; // without settings
    Input input(data, size);
    const auto object = ComPtr<DispSvrFace>::adopt(new DispSvrFace);
    object->put_Directory(Bstr(directory.path().u16string()).get());
    const DISPID member = members[input.byte() % members.size()].id;
    const WORD flags = static_cast<WORD>(1u << input.byte() % 4);
    const unsigned count = input.byte() % 8, named = input.byte() % 3;
    std::vector<Argument> arguments;
    arguments.reserve(count);
    std::vector<VARIANT> passed;
    DISPID names[2] = {static_cast<DISPID>(input.byte()) - 4, static_cast<DISPID>(input.byte()) - 4};
    for (unsigned i = 0; i < count; ++i)
        passed.push_back(arguments.emplace_back(input).passed);
    const std::vector<VARIANT> before = passed;
    DISPPARAMS parameters{passed.data(), names, count, named};
    Variant result;
    EXCEPINFO exception{};
    UINT wrong = 0;
    object->Invoke(member, IID_NULL, 0, flags, &parameters, result.address(), &exception, &wrong);
    for (BSTR text : {exception.bstrSource, exception.bstrDescription, exception.bstrHelpFile})
        SysFreeString(text);
    for (unsigned i = 0; i < count; ++i)
        expect(passed[i].vt == before[i].vt && passed[i].llVal == before[i].llVal,
               "an argument was written to");
    return 0;
}
