#include "component/face/DispSvrFace.h"

#include <algorithm>
#include <exception>
#include <string>
#include <type_traits>

#include "component/face/Dispatch.h"
#include "component/face/ErrorInfo.h"
#include "platform/runtime/Bstr.h"
#include "platform/runtime/ComPtr.h"
#include "platform/runtime/OsFile.h"
#include "platform/runtime/TypeInfo.h"
#include "platform/runtime/Variant.h"

namespace vqloan {
namespace {

BSTR newText(std::u16string_view text)
{
    return Bstr(text).release();
}

VARIANT_BOOL toAutomation(bool value) noexcept
{
    return value ? VARIANT_TRUE : VARIANT_FALSE;
}

// The caller's variable as a value. One that cannot be copied (an array, an unknown type) cannot be converted
// to a text either; the operation is to find that out itself, and record it.
Variant valueOf(const VARIANT& argument)
{
    try {
        return Variant::copyOf(argument);
    } catch (const RuntimeError& error) {
        if (error.number == static_cast<std::int32_t>(Failure::OutOfMemory))
            throw;
        return Variant::missing();
    }
}

// A variable of the caller's may stand in for an argument that was left out.
VARIANT* unlessLeftOut(VARIANT* argument) noexcept
{
    if (argument && argument->vt == (VT_BYREF | VT_VARIANT) && argument->pvarVal)
        argument = argument->pvarVal;
    return argument && !Variant::isMissing(*argument) ? argument : nullptr;
}

} // namespace

// The one way in. The object stays alive until the call is over, although events that run meanwhile may
// release the client's last reference; what an earlier call left as error information is gone; a null among
// the `needed` pointers is refused before anything is done; and this is the only place where an exception
// becomes a result.
template <class Body>
HRESULT DispSvrFace::enter(std::initializer_list<const void*> needed, Body&& body) noexcept
{
    const ComPtr<DispSvrFace> alive(this);
    SetErrorInfo(0, nullptr);
    if (std::ranges::find(needed, nullptr) != needed.end())
        return E_POINTER;
    try {
        if constexpr (std::is_void_v<decltype(body())>) {
            body();
            return S_OK;
        } else {
            return body();
        }
    } catch (...) {
        pending::set(std::current_exception());
        return reportFailure(pending::take(), IID__DispSvr);
    }
}

// --- IUnknown ---

HRESULT DispSvrFace::QueryInterface(REFIID iid, void** object)
{
    if (!object)
        return E_POINTER;
    if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IDispatch) || IsEqualIID(iid, IID__DispSvr))
        *object = static_cast<_DispSvr*>(this);
    else if (IsEqualIID(iid, IID_ISupportErrorInfo))
        *object = static_cast<ISupportErrorInfo*>(this);
    else if (IsEqualIID(iid, IID_IDispSvrSite))
        *object = static_cast<IDispSvrSite*>(this);
    else {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
}

ULONG DispSvrFace::AddRef()
{
    return ++references_;
}

ULONG DispSvrFace::Release()
{
    const ULONG left = --references_;
    if (left == 0) {
        // Shutting down may run code that takes and releases a reference: it must not count down to 0 again.
        references_ = 1;
        delete this;
    }
    return left;
}

// --- IDispatch ---

HRESULT DispSvrFace::GetTypeInfoCount(UINT* count)
{
    return enter({count}, [&] { *count = typeInfoCount(); });
}

HRESULT DispSvrFace::GetTypeInfo(UINT index, LCID locale, ITypeInfo** info)
{
    return enter({info}, [&] {
        *info = nullptr;
        return index == 0 ? typeInfoOf(IID__DispSvr, locale, info) : DISP_E_BADINDEX;
    });
}

HRESULT DispSvrFace::GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count, LCID, DISPID* ids)
{
    return enter({names, ids}, [&] {
        return IsEqualIID(reserved, IID_NULL) ? idsOfNames(names, count, ids) : DISP_E_UNKNOWNINTERFACE;
    });
}

HRESULT DispSvrFace::Invoke(DISPID member, REFIID reserved, LCID, WORD flags, DISPPARAMS* arguments,
                            VARIANT* result, EXCEPINFO* exception, UINT* argumentInError)
{
    return enter({arguments}, [&]() -> HRESULT {
        if (result)
            VariantInit(result);
        if (!IsEqualIID(reserved, IID_NULL))
            return DISP_E_UNKNOWNINTERFACE;
        if ((arguments->cArgs > 0 && !arguments->rgvarg) || arguments->cNamedArgs > arguments->cArgs ||
            (arguments->cNamedArgs > 0 && !arguments->rgdispidNamedArgs))
            return E_INVALIDARG;
        return invokeMember(*this, member, flags, *arguments, result, exception, argumentInError);
    });
}

// --- _DispSvr ---

HRESULT DispSvrFace::get_BibPosse(BSTR* result)
{
    return enter({result}, [&] {
        *result = nullptr;
        *result = newText(server_.BibPosse);
    });
}

HRESULT DispSvrFace::put_BibPosse(BSTR value)
{
    return enter({}, [&] { server_.BibPosse = viewOf(value); });
}

HRESULT DispSvrFace::get_DBType(SHORT* result)
{
    return enter({result}, [&] { *result = server_.DBType; });
}

HRESULT DispSvrFace::put_DBType(SHORT value)
{
    return enter({}, [&] { server_.DBType = value; });
}

HRESULT DispSvrFace::OpenDatabase(VARIANT* ConnectString, VARIANT_BOOL* result)
{
    return enter({ConnectString, result}, [&] {
        *result = VARIANT_FALSE;
        *result = toAutomation(server_.OpenDatabase(valueOf(*ConnectString)));
    });
}

HRESULT DispSvrFace::ShutDown()
{
    return enter({}, [&] { server_.ShutDown(); });
}

HRESULT DispSvrFace::ErrNumber(LONG* result)
{
    return enter({result}, [&] {
        *result = 0;
        *result = server_.ErrNumber();
    });
}

HRESULT DispSvrFace::InitLoans(BSTR* result)
{
    return enter({result}, [&] {
        *result = nullptr;
        *result = newText(server_.InitLoans());
    });
}

HRESULT DispSvrFace::LastError(VARIANT* Number, VARIANT* Source, VARIANT* Description, VARIANT* HelpFile,
                               VARIANT* HelpContext, VARIANT* LastDLLError)
{
    return enter({}, [&] {
        server_.LastError(unlessLeftOut(Number), unlessLeftOut(Source), unlessLeftOut(Description),
                          unlessLeftOut(HelpFile), unlessLeftOut(HelpContext), unlessLeftOut(LastDLLError));
    });
}

// Handle and Bid are neither read nor changed, and TestCodBib leaves its code as it was given.
HRESULT DispSvrFace::VisNre(BSTR* Handle, BSTR* Bid, BSTR Buf, BSTR* result)
{
    return enter({Handle, Bid, result}, [&] {
        *result = nullptr;
        *result = newText(server_.VisNre(viewOf(Buf)));
    });
}

HRESULT DispSvrFace::TestCodBib(BSTR* CodBib, BSTR* result)
{
    return enter({CodBib, result}, [&] {
        *result = nullptr;
        *result = newText(server_.TestCodBib(viewOf(*CodBib)));
    });
}

HRESULT DispSvrFace::get_ZObj(IDispatch** result)
{
    return enter({result}, [&] { *result = nullptr; });
}

HRESULT DispSvrFace::putref_ZObj(IDispatch* value)
{
    return enter({}, [&] { const ComPtr<IDispatch> heldMeanwhile(value); });
}

HRESULT DispSvrFace::Load_Messa()
{
    return enter({}, [&] { server_.Load_Messa(); });
}

// --- ISupportErrorInfo ---

HRESULT DispSvrFace::InterfaceSupportsErrorInfo(REFIID iid)
{
    return IsEqualIID(iid, IID__DispSvr) ? S_OK : S_FALSE;
}

// --- IDispSvrSite ---

HRESULT DispSvrFace::put_Directory(BSTR value)
{
    return enter({}, [&] {
        if (SysStringLen(value) > 0 && !os::nativePath(viewOf(value)).is_absolute())
            return E_INVALIDARG;
        server_.SettingsDir = viewOf(value);
        server_.Ini = nullptr; // bound to the other directory's file
        return S_OK;
    });
}

} // namespace vqloan
