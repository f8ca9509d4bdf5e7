#include "component/face/Dispatch.h"

#include <algorithm>
#include <array>
#include <optional>
#include <tuple>
#include <type_traits>
#include <utility>

#include "component/face/ErrorInfo.h"
#include "component/face/Members.h"
#include "platform/runtime/Bstr.h"
#include "platform/runtime/Text.h"
#include "platform/runtime/Variant.h"

namespace vqloan {
namespace {

// --- Arguments ---

// One argument on its way into a member and back: what it is converted to lives here during the call.
class Argument
{
public:
    // Converts the caller's argument; null for one that is left out.
    HRESULT bind(const Parameter& parameter, VARIANT* given)
    {
        if (!given || Variant::isMissing(*given))
            return parameter.passing == Passing::optionalInOut ? leaveOut() : DISP_E_PARAMNOTOPTIONAL;
        if ((given->vt & VT_BYREF) && !given->byref)
            return DISP_E_TYPEMISMATCH;
        if (parameter.type == VT_VARIANT)
            return bindVariant(given);
        const bool variable = given->vt == (VT_BYREF | VT_VARIANT);
        if (variable)
            given = given->pvarVal;
        if ((given->vt & VT_BYREF) && !given->byref)
            return DISP_E_TYPEMISMATCH;
        return parameter.passing == Passing::in ? bindValue(given, parameter.type)
                                                : bindText(given, variable);
    }

    // Gives the caller's variable the text that the member made of it. A variable that the member left alone
    // keeps its type: a number stays a number.
    void writeBack()
    {
        if (!variable_ || text_.view() == viewOf(converted_.get().bstrVal))
            return;
        VariantClear(variable_);
        variable_->vt = VT_BSTR;
        variable_->bstrVal = text_.release();
    }

    // As the member takes it.
    template <class Type> Type as() noexcept
    {
        if constexpr (std::is_same_v<Type, VARIANT*>)
            return value_;
        else if constexpr (std::is_same_v<Type, BSTR*>)
            return textAddress_;
        else if constexpr (std::is_same_v<Type, BSTR>)
            return value_->bstrVal;
        else if constexpr (std::is_same_v<Type, SHORT>)
            return value_->iVal;
        else
            return static_cast<IDispatch*>(value_->pdispVal);
    }

private:
    HRESULT leaveOut() noexcept
    {
        converted_ = Variant::missing();
        value_ = converted_.address();
        return S_OK;
    }

    // The member assigns through a reference. Of a value it gets a copy: the caller's own is not to be
    // written to. What cannot be copied can be used no more than an argument that is left out.
    HRESULT bindVariant(VARIANT* given) noexcept
    {
        value_ = given;
        if (given->vt & VT_BYREF)
            return S_OK;
        value_ = converted_.address();
        const HRESULT result = VariantCopy(value_, given);
        return result == DISP_E_BADVARTYPE ? leaveOut() : result;
    }

    HRESULT bindValue(VARIANT* given, VARTYPE type) noexcept
    {
        value_ = given;
        return given->vt == type ? S_OK : convert(given, type);
    }

    // A reference to a text is passed on. A variable, or a value, is converted to a text of the call's own:
    // the variable itself may be given another type by events that run during the call.
    HRESULT bindText(VARIANT* given, bool variable)
    {
        if (given->vt == (VT_BYREF | VT_BSTR)) {
            textAddress_ = given->pbstrVal;
            return S_OK;
        }
        if (given->vt & VT_BYREF)
            return DISP_E_TYPEMISMATCH; // a text could not be written back to it
        if (const HRESULT result = convert(given, VT_BSTR); FAILED(result))
            return result;
        text_ = Bstr(viewOf(converted_.get().bstrVal));
        textAddress_ = text_.address();
        variable_ = variable ? given : nullptr;
        return S_OK;
    }

    HRESULT convert(VARIANT* given, VARTYPE type) noexcept
    {
        value_ = converted_.address();
        return VariantChangeType(converted_.address(), given, 0, type);
    }

    Variant converted_;
    Bstr text_;
    VARIANT* value_ = nullptr;
    BSTR* textAddress_ = nullptr;
    VARIANT* variable_ = nullptr; // to be written back to
};

using Arguments = std::array<Argument, maxParameters + 1>; // one more, so that a result has an index too

// --- Calls ---

constexpr std::tuple slots{
    &_DispSvr::get_BibPosse, &_DispSvr::put_BibPosse, &_DispSvr::get_DBType, &_DispSvr::put_DBType,
    &_DispSvr::OpenDatabase, &_DispSvr::ShutDown,     &_DispSvr::ErrNumber,  &_DispSvr::InitLoans,
    &_DispSvr::LastError,    &_DispSvr::VisNre,       &_DispSvr::TestCodBib, &_DispSvr::get_ZObj,
    &_DispSvr::putref_ZObj,  &_DispSvr::Load_Messa,
};
static_assert(std::tuple_size_v<decltype(slots)> == members.size());

// Whether a slot takes a parameter as the table describes it.
template <class Type> constexpr bool takes(const Parameter& parameter)
{
    const bool byReference = parameter.passing != Passing::in;
    if constexpr (std::is_same_v<Type, VARIANT*>)
        return parameter.type == VT_VARIANT && byReference;
    else if constexpr (std::is_same_v<Type, BSTR*>)
        return parameter.type == VT_BSTR && byReference;
    else if constexpr (std::is_same_v<Type, BSTR>)
        return parameter.type == VT_BSTR && !byReference;
    else if constexpr (std::is_same_v<Type, SHORT>)
        return parameter.type == VT_I2 && !byReference;
    else if constexpr (std::is_same_v<Type, IDispatch*>)
        return parameter.type == VT_DISPATCH && !byReference;
    else
        return false;
}

// Whether a slot gives its result as the table describes it, and where in a VARIANT it goes.
constexpr bool gives(BSTR*, VARTYPE type)
{
    return type == VT_BSTR;
}
constexpr bool gives(SHORT*, VARTYPE type)
{
    return type == VT_I2 || type == VT_BOOL;
} // one C++ type for both
constexpr bool gives(LONG*, VARTYPE type)
{
    return type == VT_I4;
}
constexpr bool gives(IDispatch**, VARTYPE type)
{
    return type == VT_DISPATCH;
}
void locate(VARIANT& result, BSTR*& where)
{
    where = &result.bstrVal;
}
void locate(VARIANT& result, SHORT*& where)
{
    where = &result.iVal;
}
void locate(VARIANT& result, LONG*& where)
{
    where = &result.lVal;
}
void locate(VARIANT& result, IDispatch**& where)
{
    where = &result.pdispVal;
}

template <class Type, bool isResult>
Type pass([[maybe_unused]] Argument& argument, [[maybe_unused]] VARIANT& result)
{
    if constexpr (isResult) {
        Type where;
        locate(result, where);
        return where;
    } else {
        return argument.as<Type>();
    }
}

template <std::size_t index, class Type, std::size_t position> constexpr bool agrees()
{
    constexpr const Member& member = members[index];
    if constexpr (position < member.parameterCount())
        return takes<Type>(member.parameterSlots[position]);
    else
        return position == member.parameterCount() && gives(Type(), member.result);
}

template <std::size_t index, class... Types, std::size_t... position>
HRESULT callSlot(_DispSvr& object, HRESULT (STDMETHODCALLTYPE _DispSvr::*slot)(Types...),
                 [[maybe_unused]] Arguments& arguments, [[maybe_unused]] VARIANT& result,
                 std::index_sequence<position...>)
{
    static_assert((agrees<index, Types, position>() && ...), "the slot is not as the table has it");
    constexpr std::size_t resultPosition = members[index].parameterCount();
    static_assert(sizeof...(Types) == resultPosition + (members[index].result != VT_EMPTY));
    return (object.*slot)(pass<Types, position == resultPosition>(arguments[position], result)...);
}

template <std::size_t index> HRESULT call(_DispSvr& object, Arguments& arguments, VARIANT& result)
{
    const auto with = [&]<class... Types>(HRESULT (STDMETHODCALLTYPE _DispSvr::*slot)(Types...)) {
        return callSlot<index>(object, slot, arguments, result, std::index_sequence_for<Types...>());
    };
    return with(std::get<index>(slots));
}

template <std::size_t... index> constexpr auto makeCalls(std::index_sequence<index...>)
{
    return std::array{&call<index>...};
}

constexpr auto calls = makeCalls(std::make_index_sequence<members.size()>());

// --- Steps of a call ---

std::optional<std::size_t> findMember(DISPID id, WORD flags)
{
    for (std::size_t index = 0; index < members.size(); ++index)
        if (members[index].id == id && (static_cast<WORD>(members[index].kind) & flags))
            return index;
    return std::nullopt;
}

bool isPut(const Member& member)
{
    return member.kind == MemberKind::put || member.kind == MemberKind::putref;
}

// The parameter that a named argument stands for.
std::optional<std::size_t> parameterOf(const Member& member, DISPID name)
{
    if (isPut(member))
        return name == DISPID_PROPERTYPUT ? std::optional<std::size_t>(0) : std::nullopt;
    if (name < 0 || static_cast<std::size_t>(name) >= member.parameterCount())
        return std::nullopt;
    return static_cast<std::size_t>(name);
}

// Which argument is for which parameter, by index in rgvarg.
using Assignment = std::array<std::optional<UINT>, maxParameters>;

HRESULT assign(const Member& member, const DISPPARAMS& given, Assignment& argumentOf, UINT& inError)
{
    if (given.cArgs > member.parameterCount())
        return DISP_E_BADPARAMCOUNT;
    const UINT positional = given.cArgs - given.cNamedArgs;
    // The value of a put is a named argument by custom; a positional one would be the index of an indexed
    // property.
    if (isPut(member) && positional > 0)
        return DISP_E_PARAMNOTFOUND;
    for (UINT position = 0; position < positional; ++position)
        argumentOf[position] = given.cArgs - 1 - position;
    for (UINT index = 0; index < given.cNamedArgs; ++index) {
        const auto parameter = parameterOf(member, given.rgdispidNamedArgs[index]);
        if (!parameter || argumentOf[*parameter]) {
            inError = index;
            return DISP_E_PARAMNOTFOUND;
        }
        argumentOf[*parameter] = index;
    }
    return S_OK;
}

HRESULT bindAll(const Member& member, const DISPPARAMS& given, Arguments& arguments, UINT& inError)
{
    Assignment argumentOf;
    if (const HRESULT result = assign(member, given, argumentOf, inError); FAILED(result))
        return result;
    for (std::size_t position = 0; position < member.parameterCount(); ++position) {
        const auto index = argumentOf[position];
        const HRESULT result = arguments[position].bind(member.parameterSlots[position],
                                                        index ? &given.rgvarg[*index] : nullptr);
        if (FAILED(result)) {
            inError = index.value_or(inError);
            return result;
        }
    }
    return S_OK;
}

} // namespace

HRESULT idsOfNames(const LPOLESTR* names, UINT count, DISPID* ids)
{
    const auto is = [&](std::u16string_view known, UINT index) {
        return !known.empty() && names[index] && text::equalsIgnoringCase(known, toText(names[index]));
    };
    std::fill_n(ids, count, DISPID_UNKNOWN);
    const auto member =
        std::ranges::find_if(members, [&](const Member& m) { return count > 0 && is(m.name, 0); });
    if (member != members.end()) {
        ids[0] = member->id;
        for (UINT index = 1; index < count; ++index)
            for (std::size_t position = 0; position < member->parameterCount(); ++position)
                if (is(member->parameterSlots[position].name, index))
                    ids[index] = static_cast<DISPID>(position);
    }
    return std::count(ids, ids + count, DISPID_UNKNOWN) == 0 ? S_OK : DISP_E_UNKNOWNNAME;
}

HRESULT invokeMember(_DispSvr& object, DISPID id, WORD flags, const DISPPARAMS& given, VARIANT* result,
                     EXCEPINFO* exception, UINT* argumentInError)
{
    const auto index = findMember(id, flags);
    if (!index)
        return DISP_E_MEMBERNOTFOUND;
    const Member& member = members[*index];

    Arguments arguments;
    UINT none = 0;
    if (const HRESULT bound = bindAll(member, given, arguments, argumentInError ? *argumentInError : none);
        FAILED(bound))
        return bound;

    Variant outcome;
    outcome.address()->llVal = 0;
    const HRESULT called = calls[*index](object, arguments, *outcome.address());
    for (Argument& argument : arguments)
        argument.writeBack();
    if (FAILED(called))
        return reportException(called, exception);
    outcome.address()->vt = member.result; // from here on its text or reference is released, or given away
    if (result)
        *result = outcome.release();
    return S_OK;
}

} // namespace vqloan
