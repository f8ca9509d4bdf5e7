// The automation types, constants and functions in use, laid out and numbered as on 64-bit Windows, so that
// clients in any language can call the component here as they would there. Only what is used is here.
#pragma once

#include <cstddef>
#include <cstdint>

#ifdef AUTOMATION_EXPORTS
#define AUTOMATION_API __attribute__((visibility("default")))
#else
#define AUTOMATION_API
#endif
#define STDMETHODCALLTYPE
#define STDAPICALLTYPE
// An entry point of a component.
#define STDAPI extern "C" __attribute__((visibility("default"))) HRESULT STDAPICALLTYPE

using HRESULT = std::int32_t;
using SCODE = HRESULT;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using DWORD = std::uint32_t;
using INT = std::int32_t;
using UINT = std::uint32_t;
using SHORT = std::int16_t;
using USHORT = std::uint16_t;
using WORD = std::uint16_t;
using BYTE = std::uint8_t;
using LONGLONG = std::int64_t;
using ULONGLONG = std::uint64_t;
using BOOL = std::int32_t;
using VARIANT_BOOL = std::int16_t;
using VARTYPE = std::uint16_t;
using LCID = std::uint32_t;
using DISPID = LONG;
using DATE = double;
using OLECHAR = char16_t;
using LPOLESTR = OLECHAR*;
using LPCOLESTR = const OLECHAR*;
// Points to UTF-16 text; its length in bytes stands in the 4 bytes before, two zero bytes follow it.
using BSTR = OLECHAR*;

struct GUID
{
    std::uint32_t Data1;
    std::uint16_t Data2;
    std::uint16_t Data3;
    std::uint8_t Data4[8];
};
using IID = GUID;
using CLSID = GUID;
using REFIID = const IID&;
using REFCLSID = const CLSID&;
using REFGUID = const GUID&;

inline bool operator==(const GUID& a, const GUID& b) noexcept
{
    return __builtin_memcmp(&a, &b, sizeof(GUID)) == 0;
}

inline bool IsEqualIID(REFIID a, REFIID b) noexcept
{
    return a == b;
}
inline bool IsEqualCLSID(REFCLSID a, REFCLSID b) noexcept
{
    return a == b;
}

inline constexpr BOOL TRUE = 1;
inline constexpr BOOL FALSE = 0;
inline constexpr VARIANT_BOOL VARIANT_TRUE = -1;
inline constexpr VARIANT_BOOL VARIANT_FALSE = 0;

inline constexpr HRESULT hresult(std::uint32_t bits) noexcept
{
    return static_cast<HRESULT>(bits);
}
inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT S_FALSE = 1;
inline constexpr HRESULT E_NOTIMPL = hresult(0x80004001);
inline constexpr HRESULT E_NOINTERFACE = hresult(0x80004002);
inline constexpr HRESULT E_POINTER = hresult(0x80004003);
inline constexpr HRESULT E_FAIL = hresult(0x80004005);
inline constexpr HRESULT E_UNEXPECTED = hresult(0x8000FFFF);
inline constexpr HRESULT E_ACCESSDENIED = hresult(0x80070005);
inline constexpr HRESULT E_OUTOFMEMORY = hresult(0x8007000E);
inline constexpr HRESULT E_INVALIDARG = hresult(0x80070057);
inline constexpr HRESULT CLASS_E_NOAGGREGATION = hresult(0x80040110);
inline constexpr HRESULT CLASS_E_CLASSNOTAVAILABLE = hresult(0x80040111);
inline constexpr HRESULT REGDB_E_CLASSNOTREG = hresult(0x80040154);
inline constexpr HRESULT REGDB_E_READREGDB = hresult(0x80040150);
inline constexpr HRESULT CO_E_CLASSSTRING = hresult(0x800401F3);
inline constexpr HRESULT CO_E_DLLNOTFOUND = hresult(0x800401F8);
inline constexpr HRESULT CO_E_ERRORINDLL = hresult(0x800401F9);
inline constexpr HRESULT DISP_E_UNKNOWNINTERFACE = hresult(0x80020001);
inline constexpr HRESULT DISP_E_MEMBERNOTFOUND = hresult(0x80020003);
inline constexpr HRESULT DISP_E_PARAMNOTFOUND = hresult(0x80020004);
inline constexpr HRESULT DISP_E_TYPEMISMATCH = hresult(0x80020005);
inline constexpr HRESULT DISP_E_UNKNOWNNAME = hresult(0x80020006);
inline constexpr HRESULT DISP_E_BADVARTYPE = hresult(0x80020008);
inline constexpr HRESULT DISP_E_EXCEPTION = hresult(0x80020009);
inline constexpr HRESULT DISP_E_OVERFLOW = hresult(0x8002000A);
inline constexpr HRESULT DISP_E_BADINDEX = hresult(0x8002000B);
inline constexpr HRESULT DISP_E_BADPARAMCOUNT = hresult(0x8002000E);
inline constexpr HRESULT DISP_E_PARAMNOTOPTIONAL = hresult(0x8002000F);
inline constexpr bool SUCCEEDED(HRESULT result) noexcept
{
    return result >= 0;
}
inline constexpr bool FAILED(HRESULT result) noexcept
{
    return result < 0;
}

inline constexpr LCID LOCALE_USER_DEFAULT = 0x0400;

enum VARENUM : VARTYPE
{
    VT_EMPTY = 0,
    VT_NULL = 1,
    VT_I2 = 2,
    VT_I4 = 3,
    VT_R4 = 4,
    VT_R8 = 5,
    VT_CY = 6,
    VT_DATE = 7,
    VT_BSTR = 8,
    VT_DISPATCH = 9,
    VT_ERROR = 10,
    VT_BOOL = 11,
    VT_VARIANT = 12,
    VT_UNKNOWN = 13,
    VT_DECIMAL = 14,
    VT_I1 = 16,
    VT_UI1 = 17,
    VT_UI2 = 18,
    VT_UI4 = 19,
    VT_I8 = 20,
    VT_UI8 = 21,
    VT_INT = 22,
    VT_UINT = 23,
    VT_BYREF = 0x4000
};

struct IUnknown;
struct IDispatch;

// A number of ten-thousandths.
union CY {
    LONGLONG int64;
};

struct VARIANT
{
    VARTYPE vt;
    WORD wReserved1;
    WORD wReserved2;
    WORD wReserved3;
    union {
        LONGLONG llVal;
        LONG lVal;
        BYTE bVal;
        SHORT iVal;
        float fltVal;
        double dblVal;
        VARIANT_BOOL boolVal;
        SCODE scode;
        CY cyVal;
        DATE date;
        BSTR bstrVal;
        IUnknown* punkVal;
        IDispatch* pdispVal;
        signed char cVal;
        USHORT uiVal;
        ULONG ulVal;
        ULONGLONG ullVal;
        BSTR* pbstrVal;
        VARIANT* pvarVal;
        void* byref;
        void* pair[2]; // fills the 24 bytes; a record's data and its description elsewhere
    };
};
using VARIANTARG = VARIANT;
static_assert(sizeof(VARIANT) == 24 && offsetof(VARIANT, lVal) == 8);

struct DISPPARAMS
{
    VARIANTARG* rgvarg; // the last argument first
    DISPID* rgdispidNamedArgs;
    UINT cArgs;
    UINT cNamedArgs;
};

struct EXCEPINFO
{
    WORD wCode;
    WORD wReserved;
    BSTR bstrSource;
    BSTR bstrDescription;
    BSTR bstrHelpFile;
    DWORD dwHelpContext;
    void* pvReserved;
    HRESULT(STDMETHODCALLTYPE* pfnDeferredFillIn)(EXCEPINFO*);
    SCODE scode;
};
static_assert(sizeof(EXCEPINFO) == 64);

// Flags of VariantChangeType: an object's default property is not asked for; a Boolean becomes "True" or
// "False" rather than "-1" or "0".
inline constexpr USHORT VARIANT_NOVALUEPROP = 1;
inline constexpr USHORT VARIANT_ALPHABOOL = 2;

inline constexpr WORD DISPATCH_METHOD = 1;
inline constexpr WORD DISPATCH_PROPERTYGET = 2;
inline constexpr WORD DISPATCH_PROPERTYPUT = 4;
inline constexpr WORD DISPATCH_PROPERTYPUTREF = 8;
inline constexpr DISPID DISPID_UNKNOWN = -1;
inline constexpr DISPID DISPID_VALUE = 0;
inline constexpr DISPID DISPID_PROPERTYPUT = -3;

inline constexpr IID IID_NULL{};
inline constexpr IID IID_IUnknown{0x00000000, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IClassFactory{0x00000001, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IDispatch{0x00020400, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IErrorInfo{
    0x1CF2B120, 0x547D, 0x101B, {0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19}};
inline constexpr IID IID_ICreateErrorInfo{
    0x22F03340, 0x547D, 0x101B, {0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19}};
inline constexpr IID IID_ISupportErrorInfo{
    0xDF0B3D60, 0x548F, 0x101B, {0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19}};

// Interfaces: the functions stand in the published order and no destructor is virtual, so that an object
// starts with a pointer to exactly the published table.
struct IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) = 0;
    virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
    virtual ULONG STDMETHODCALLTYPE Release() = 0;

protected:
    ~IUnknown() = default;
};

struct IClassFactory : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** object) = 0;
    virtual HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) = 0;

protected:
    ~IClassFactory() = default;
};

struct ITypeInfo; // never handed out on POSIX

struct IDispatch : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count, LCID locale,
                                                    DISPID* ids) = 0;
    virtual HRESULT STDMETHODCALLTYPE Invoke(DISPID member, REFIID reserved, LCID locale, WORD flags,
                                             DISPPARAMS* arguments, VARIANT* result, EXCEPINFO* exception,
                                             UINT* argumentInError) = 0;

protected:
    ~IDispatch() = default;
};

struct IErrorInfo : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE GetGUID(GUID* guid) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetSource(BSTR* source) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDescription(BSTR* description) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetHelpFile(BSTR* helpFile) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetHelpContext(DWORD* helpContext) = 0;

protected:
    ~IErrorInfo() = default;
};

struct ICreateErrorInfo : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE SetGUID(REFGUID guid) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetSource(LPOLESTR source) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetDescription(LPOLESTR description) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetHelpFile(LPOLESTR helpFile) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetHelpContext(DWORD helpContext) = 0;

protected:
    ~ICreateErrorInfo() = default;
};

struct ISupportErrorInfo : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID iid) = 0;

protected:
    ~ISupportErrorInfo() = default;
};

inline constexpr DWORD CLSCTX_INPROC_SERVER = 1;

extern "C" {
// Texts. A null BSTR is an empty text everywhere; lengths are in UTF-16 units unless "Byte" is in the name.
// The allocating functions give null when memory runs out.
AUTOMATION_API BSTR SysAllocString(const OLECHAR* text);
AUTOMATION_API BSTR SysAllocStringLen(const OLECHAR* text, UINT length);
AUTOMATION_API BSTR SysAllocStringByteLen(const char* bytes, UINT length);
AUTOMATION_API INT SysReAllocString(BSTR* text, const OLECHAR* replacement);
AUTOMATION_API INT SysReAllocStringLen(BSTR* text, const OLECHAR* replacement, UINT length);
AUTOMATION_API void SysFreeString(BSTR text);
AUTOMATION_API UINT SysStringLen(BSTR text);
AUTOMATION_API UINT SysStringByteLen(BSTR text);

// Variants.
AUTOMATION_API void VariantInit(VARIANTARG* variant);
AUTOMATION_API HRESULT VariantClear(VARIANTARG* variant);
AUTOMATION_API HRESULT VariantCopy(VARIANTARG* destination, const VARIANTARG* source);
AUTOMATION_API HRESULT VariantCopyInd(VARIANT* destination, const VARIANTARG* source);
AUTOMATION_API HRESULT VariantChangeType(VARIANTARG* destination, const VARIANTARG* source, USHORT flags,
                                         VARTYPE type);

// The thread's error information object. E_OUTOFMEMORY where one cannot be kept.
AUTOMATION_API HRESULT GetErrorInfo(ULONG reserved, IErrorInfo** info);
AUTOMATION_API HRESULT SetErrorInfo(ULONG reserved, IErrorInfo* info);
AUTOMATION_API HRESULT CreateErrorInfo(ICreateErrorInfo** info);

// Classes, looked up in the per-user registry file (ClassRegistry.h). CO_E_DLLNOTFOUND when the registered
// file is gone, CO_E_ERRORINDLL when it cannot be loaded or is no component.
AUTOMATION_API HRESULT CoInitialize(void* reserved);
AUTOMATION_API HRESULT CoInitializeEx(void* reserved, DWORD model);
AUTOMATION_API void CoUninitialize();
AUTOMATION_API HRESULT CoGetClassObject(REFCLSID clsid, DWORD context, void* reserved, REFIID iid,
                                        void** object);
AUTOMATION_API HRESULT CoCreateInstance(REFCLSID clsid, IUnknown* outer, DWORD context, REFIID iid,
                                        void** object);
AUTOMATION_API void CoFreeUnusedLibraries();
AUTOMATION_API HRESULT CLSIDFromProgID(LPCOLESTR progId, CLSID* clsid);
AUTOMATION_API HRESULT CLSIDFromString(LPCOLESTR text, CLSID* clsid);
AUTOMATION_API INT StringFromGUID2(REFGUID guid, LPOLESTR text, INT capacity);

// Not on Windows. Registration of an in-process class, for the entry points of a component. The file's name
// is the system's, in bytes.
AUTOMATION_API HRESULT AutomationRegisterClass(REFCLSID clsid, LPCOLESTR progId, const char* file);
AUTOMATION_API HRESULT AutomationUnregisterClass(REFCLSID clsid, LPCOLESTR progId);

// Not on Windows, where a thread's pending events are its message queue. A client whose thread has an event
// loop names here what runs one pass of it; the component calls it while it waits. Null for no event loop.
// E_OUTOFMEMORY.
AUTOMATION_API HRESULT AutomationSetPendingEvents(void (*runOnePass)(void* context), void* context);
// Runs that pass; FALSE when the thread has no event loop.
AUTOMATION_API BOOL AutomationRunPendingEvents();
}
