#include "platform/runtime/windows/LateBound.h"

#include <algorithm>
#include <array>
#include <vector>

#include "platform/runtime/OsProcess.h"
#include "platform/runtime/RuntimeError.h"

namespace vqloan {
namespace {

// Failures that only calls of objects know.
constexpr std::int32_t cannotCreate = 429;
constexpr std::int32_t noSuchMember = 438;
constexpr std::int32_t notOptional = 449;
constexpr std::int32_t wrongArguments = 450;

std::u16string textOf(std::int32_t number)
{
    switch (number) {
    case cannotCreate:
        return u"ActiveX component can't create object";
    case noSuchMember:
        return u"Object doesn't support this property or method";
    case notOptional:
        return u"Argument not optional";
    case wrongArguments:
        return u"Wrong number of arguments or invalid property assignment";
    default:
        break;
    }
    std::u16string text = number > 0 ? std::u16string(describe(number)) : os::errorMessage(number);
    return text.empty() ? u"Automation error" : text;
}

RuntimeError failureOf(std::int32_t number)
{
    return {number, textOf(number)};
}

struct CallFailure
{
    HRESULT result;
    std::int32_t number;
};
constexpr std::array callFailures{
    CallFailure{DISP_E_UNKNOWNNAME, noSuchMember},
    CallFailure{DISP_E_MEMBERNOTFOUND, noSuchMember},
    CallFailure{DISP_E_BADPARAMCOUNT, wrongArguments},
    CallFailure{DISP_E_PARAMNOTOPTIONAL, notOptional},
    CallFailure{DISP_E_TYPEMISMATCH, static_cast<std::int32_t>(Failure::TypeMismatch)},
    CallFailure{DISP_E_OVERFLOW, static_cast<std::int32_t>(Failure::Overflow)},
    CallFailure{DISP_E_BADINDEX, static_cast<std::int32_t>(Failure::SubscriptOutOfRange)},
    CallFailure{E_OUTOFMEMORY, static_cast<std::int32_t>(Failure::OutOfMemory)},
    CallFailure{E_INVALIDARG, static_cast<std::int32_t>(Failure::InvalidCall)},
};

std::int32_t numberOf(HRESULT result) noexcept
{
    const auto known = std::ranges::find(callFailures, result, &CallFailure::result);
    if (known != callFailures.end())
        return known->number;
    // A number of the language runtime travels as 0x800A0000 + number.
    return HRESULT_FACILITY(result) == FACILITY_CONTROL ? result & 0xFFFF : result;
}

// The failure that the object reported, taken out of `exception`.
RuntimeError reported(EXCEPINFO& exception)
{
    if (exception.pfnDeferredFillIn)
        exception.pfnDeferredFillIn(&exception);
    Bstr source, description, helpFile;
    *source.address() = exception.bstrSource;
    *description.address() = exception.bstrDescription;
    *helpFile.address() = exception.bstrHelpFile;

    const std::int32_t number = exception.scode ? numberOf(exception.scode) : exception.wCode;
    RuntimeError failure = failureOf(number ? number : DISP_E_EXCEPTION); // 0 would be no failure
    failure.source = source.view();
    if (!description.view().empty())
        failure.description = description.view();
    failure.helpFile = helpFile.view();
    failure.helpContext = static_cast<std::int32_t>(exception.dwHelpContext);
    return failure;
}

HRESULT createObject(REFCLSID clsid, ComPtr<IDispatch>& object) noexcept
{
    return CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER | CLSCTX_LOCAL_SERVER, IID_IDispatch,
                            object.addressVoid());
}

VARIANT ofType(int type) noexcept
{
    VARIANT made;
    VariantInit(&made);
    made.vt = static_cast<VARTYPE>(type);
    return made;
}

} // namespace

std::optional<LateBound> LateBound::createIfRegistered(REFCLSID clsid)
{
    ComPtr<IDispatch> object;
    const HRESULT result = createObject(clsid, object);
    if (result == REGDB_E_CLASSNOTREG || result == CO_E_NOTINITIALIZED)
        return std::nullopt;
    if (FAILED(result))
        throw failureOf(cannotCreate);
    return LateBound(std::move(object));
}

LateBound LateBound::create(REFCLSID clsid)
{
    ComPtr<IDispatch> object;
    if (FAILED(createObject(clsid, object)))
        throw failureOf(cannotCreate);
    return LateBound(std::move(object));
}

LateBound LateBound::create(LPCOLESTR progId)
{
    CLSID clsid;
    if (FAILED(CLSIDFromProgID(progId, &clsid)))
        throw failureOf(cannotCreate);
    return create(clsid);
}

LateBound LateBound::object(LPCOLESTR property, std::initializer_list<VARIANT> arguments) const
{
    const Variant held = get(property, arguments);
    if (held.get().vt != VT_DISPATCH)
        throw RuntimeError(Failure::TypeMismatch);
    return LateBound(ComPtr<IDispatch>(held.get().pdispVal));
}

Variant LateBound::invoke(LPCOLESTR member, WORD kind, std::initializer_list<VARIANT> arguments) const
{
    if (!object_)
        throw RuntimeError(Failure::ObjectNotSet);
    auto* name = const_cast<LPOLESTR>(member);
    DISPID id = DISPID_UNKNOWN;
    if (const HRESULT result = object_->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id);
        FAILED(result))
        throw failureOf(numberOf(result));

    std::vector<VARIANT> lastFirst(arguments);
    std::ranges::reverse(lastFirst);
    DISPPARAMS parameters{lastFirst.data(), nullptr, static_cast<UINT>(lastFirst.size()), 0};
    DISPID valueName = DISPID_PROPERTYPUT; // the value of a put is a named argument
    const bool puts = kind == DISPATCH_PROPERTYPUT;
    if (puts) {
        parameters.rgdispidNamedArgs = &valueName;
        parameters.cNamedArgs = 1;
    }
    // Reading a property with arguments looks the same as calling a method, so objects are asked for either.
    if (kind == DISPATCH_PROPERTYGET && !lastFirst.empty())
        kind |= DISPATCH_METHOD;

    Variant answer;
    EXCEPINFO exception{};
    const HRESULT result = object_->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, kind, &parameters,
                                           puts ? nullptr : answer.address(), &exception, nullptr);
    if (result == DISP_E_EXCEPTION)
        throw reported(exception);
    if (FAILED(result))
        throw failureOf(numberOf(result));
    return answer;
}

VARIANT argument::value(std::int32_t number) noexcept
{
    VARIANT made = ofType(VT_I4);
    made.lVal = number;
    return made;
}

VARIANT argument::value(const Bstr& text) noexcept
{
    VARIANT made = ofType(VT_BSTR);
    made.bstrVal = text.get();
    return made;
}

VARIANT argument::value(const ComPtr<IDispatch>& object) noexcept
{
    VARIANT made = ofType(VT_DISPATCH);
    made.pdispVal = object.get();
    return made;
}

VARIANT argument::byReference(std::int32_t& number) noexcept
{
    static_assert(sizeof(LONG) == sizeof number);
    VARIANT made = ofType(VT_BYREF | VT_I4);
    made.byref = &number;
    return made;
}

VARIANT argument::byReference(Variant& value) noexcept
{
    if (value.isMissing())
        return value.get();
    VARIANT made = ofType(VT_BYREF | VT_VARIANT);
    made.pvarVal = value.address();
    return made;
}

VARIANT LentText::lend() noexcept
{
    VARIANT made = ofType(VT_BYREF | VT_BSTR);
    made.pbstrVal = lent_.address();
    return made;
}

VARIANT LentObject::lend() noexcept
{
    VARIANT made = ofType(VT_BYREF | VT_DISPATCH);
    made.ppdispVal = &lent_;
    return made;
}

} // namespace vqloan
