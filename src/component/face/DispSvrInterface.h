// The published interface: all that a client needs to include. One question, without looking at the HRESULTs
// (examples/clients/ask.cpp is a whole program):
//
//     _DispSvr* desk = nullptr;
//     CoCreateInstance(CLSID_DispSvr, nullptr, CLSCTX_INPROC_SERVER, IID__DispSvr,
//                      reinterpret_cast<void**>(&desk));
//
//     VARIANT kind{};
//     kind.vt = VT_BSTR;
//     kind.bstrVal = SysAllocString(u"SQL2");
//     VARIANT_BOOL failed = VARIANT_FALSE;
//     desk->OpenDatabase(&kind, &failed); // True is the failure; LastError tells which
//
//     BSTR request = SysAllocString(u"00\t\tKA000001\t\r\n"); // library, shelf mark, inventory number, note
//     BSTR handle = nullptr, bid = nullptr, answer = nullptr;
//     desk->VisNre(&handle, &bid, request, &answer);
//
//     for (BSTR text : {kind.bstrVal, request, handle, bid, answer})
//         SysFreeString(text);
//     desk->Release();
#pragma once

#include "platform/automation/Automation.h"

namespace vqloan {

inline constexpr GUID LIBID_VQLoan{
    0x8799B811, 0xFC05, 0x11D2, {0xB1, 0x20, 0x00, 0xA0, 0x24, 0x67, 0x75, 0x34}};
inline constexpr CLSID CLSID_DispSvr{
    0x8799B813, 0xFC05, 0x11D2, {0xB1, 0x20, 0x00, 0xA0, 0x24, 0x67, 0x75, 0x34}};
// NOLINTNEXTLINE(bugprone-reserved-identifier): IID_ and the published name
inline constexpr IID IID__DispSvr{
    0xDD3E654C, 0xAC19, 0x4576, {0x89, 0x0A, 0xA9, 0xB9, 0xD0, 0x90, 0xDF, 0xAA}};
inline constexpr char16_t progId[] = u"VQLoan.DispSvr";

// The slots after those of IDispatch, in the published order. An object is used on the thread that created
// it.
//
// Every call gives S_OK, E_POINTER for a null pointer where one is needed (nothing is done then), or, for a
// failure that the operation does not record but raises, 0x800A0000 + its number with an error information
// object. Texts that come back belong to the caller. A text given by BSTR* may come back replaced: the old
// one is freed then. A null BSTR is an empty text.
struct _DispSvr : IDispatch // NOLINT(bugprone-reserved-identifier): the name is published
{
    // The component's own library, "00" once the "7000" back end is open.
    virtual HRESULT STDMETHODCALLTYPE get_BibPosse(BSTR* result) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_BibPosse(BSTR value) = 0;
    // The back end in force: 0 none, 1 "7000", 2 "SQL", 3 "SQL2". Any value may be stored.
    virtual HRESULT STDMETHODCALLTYPE get_DBType(SHORT* result) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_DBType(SHORT value) = 0;
    // Prepares the back end named "7000", "SQL" or "SQL2". The result is VARIANT_TRUE when that FAILED.
    virtual HRESULT STDMETHODCALLTYPE OpenDatabase(VARIANT* ConnectString, VARIANT_BOOL* result) = 0;
    // Closes the database. The object can still be used, and opened again.
    virtual HRESULT STDMETHODCALLTYPE ShutDown() = 0;
    // Number of the failure recorded last on this thread, by whichever object.
    virtual HRESULT STDMETHODCALLTYPE ErrNumber(LONG* result) = 0;
    // The empty text.
    virtual HRESULT STDMETHODCALLTYPE InitLoans(BSTR* result) = 0;
    // The details of that failure. Each is optional: a null pointer, or a VT_ERROR of DISP_E_PARAMNOTFOUND.
    virtual HRESULT STDMETHODCALLTYPE LastError(VARIANT* Number, VARIANT* Source, VARIANT* Description,
                                                VARIANT* HelpFile, VARIANT* HelpContext,
                                                VARIANT* LastDLLError) = 0;
    // Answers the request lines in Buf; an empty result when that failed.
    virtual HRESULT STDMETHODCALLTYPE VisNre(BSTR* Handle, BSTR* Bid, BSTR Buf, BSTR* result) = 0;
    // The name of a library of the "7000" back end; "**" in front for the group that is not checked.
    virtual HRESULT STDMETHODCALLTYPE TestCodBib(BSTR* CodBib, BSTR* result) = 0;
    // Keeps nothing: always a null reference.
    virtual HRESULT STDMETHODCALLTYPE get_ZObj(IDispatch** result) = 0;
    virtual HRESULT STDMETHODCALLTYPE putref_ZObj(IDispatch* value) = 0;
    // Reads the message texts from the settings file again.
    virtual HRESULT STDMETHODCALLTYPE Load_Messa() = 0;

protected:
    ~_DispSvr() = default;
};

// NOLINTNEXTLINE(bugprone-reserved-identifier): as above
inline constexpr IID IID_IDispSvrSite{
    0xAFF99011, 0x40BB, 0x445A, {0x90, 0x65, 0x75, 0xFE, 0x53, 0xF4, 0x48, 0x86}};

// Asked of an object by QueryInterface, for a client that serves several sites with one component file. An
// object that is told nothing takes its settings from the directory of the component's file.
struct IDispSvrSite : IUnknown
{
    // The directory in which this object looks for SvrDisp.ini and CLIENT.PAR from its next opening on;
    // empty: the component's own. E_INVALIDARG for a path that is not absolute: nothing is changed then.
    virtual HRESULT STDMETHODCALLTYPE put_Directory(BSTR value) = 0;

protected:
    ~IDispSvrSite() = default;
};

} // namespace vqloan
