// The object that clients hold: `_DispSvr` around a DispSvr.
#pragma once

#include <atomic>
#include <initializer_list>

#include "component/DispSvr.h"
#include "component/face/DispSvrInterface.h"
#include "component/face/ModuleUse.h"

namespace vqloan {

// Created with one reference, deletes itself when the last is released, which shuts the DispSvr down once
// more. References may be counted on any thread; every other call is made on the thread that created the
// object. No exception leaves any function.
class DispSvrFace final : public _DispSvr, public ISupportErrorInfo, public IDispSvrSite
{
public:
    DispSvrFace() = default;
    DispSvrFace(const DispSvrFace&) = delete;
    DispSvrFace& operator=(const DispSvrFace&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;

    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override;
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) override;
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count, LCID locale,
                                            DISPID* ids) override;
    HRESULT STDMETHODCALLTYPE Invoke(DISPID member, REFIID reserved, LCID locale, WORD flags,
                                     DISPPARAMS* arguments, VARIANT* result, EXCEPINFO* exception,
                                     UINT* argumentInError) override;

    HRESULT STDMETHODCALLTYPE get_BibPosse(BSTR* result) override;
    HRESULT STDMETHODCALLTYPE put_BibPosse(BSTR value) override;
    HRESULT STDMETHODCALLTYPE get_DBType(SHORT* result) override;
    HRESULT STDMETHODCALLTYPE put_DBType(SHORT value) override;
    HRESULT STDMETHODCALLTYPE OpenDatabase(VARIANT* ConnectString, VARIANT_BOOL* result) override;
    HRESULT STDMETHODCALLTYPE ShutDown() override;
    HRESULT STDMETHODCALLTYPE ErrNumber(LONG* result) override;
    HRESULT STDMETHODCALLTYPE InitLoans(BSTR* result) override;
    HRESULT STDMETHODCALLTYPE LastError(VARIANT* Number, VARIANT* Source, VARIANT* Description,
                                        VARIANT* HelpFile, VARIANT* HelpContext,
                                        VARIANT* LastDLLError) override;
    HRESULT STDMETHODCALLTYPE VisNre(BSTR* Handle, BSTR* Bid, BSTR Buf, BSTR* result) override;
    HRESULT STDMETHODCALLTYPE TestCodBib(BSTR* CodBib, BSTR* result) override;
    HRESULT STDMETHODCALLTYPE get_ZObj(IDispatch** result) override;
    HRESULT STDMETHODCALLTYPE putref_ZObj(IDispatch* value) override;
    HRESULT STDMETHODCALLTYPE Load_Messa() override;

    HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID iid) override;

    HRESULT STDMETHODCALLTYPE put_Directory(BSTR value) override;

private:
    ~DispSvrFace() = default;

    template <class Body> HRESULT enter(std::initializer_list<const void*> needed, Body&& body) noexcept;

    ModuleUse::Counted counted_;
    std::atomic<ULONG> references_ = 1;
    DispSvr server_;
};

} // namespace vqloan
