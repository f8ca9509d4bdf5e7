// The error information object, and the one that each thread keeps for its caller.
#include <atomic>
#include <new>

#include "platform/automation/Automation.h"
#include "platform/automation/posix/ThreadState.h"

namespace {

using automation::ThreadState;

// Filled by one thread, then read; only the reference count may be used by several at once.
class ErrorInfo final : public ICreateErrorInfo, public IErrorInfo
{
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override
    {
        if (!object)
            return E_POINTER;
        if (iid == IID_IUnknown || iid == IID_ICreateErrorInfo)
            *object = static_cast<ICreateErrorInfo*>(this);
        else if (iid == IID_IErrorInfo)
            *object = static_cast<IErrorInfo*>(this);
        else {
            *object = nullptr;
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
    ULONG STDMETHODCALLTYPE Release() override
    {
        const ULONG left = --references_;
        if (left == 0)
            delete this;
        return left;
    }

    HRESULT STDMETHODCALLTYPE SetGUID(REFGUID guid) override
    {
        guid_ = guid;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetSource(LPOLESTR source) override { return set(source_, source); }
    HRESULT STDMETHODCALLTYPE SetDescription(LPOLESTR text) override { return set(description_, text); }
    HRESULT STDMETHODCALLTYPE SetHelpFile(LPOLESTR helpFile) override { return set(helpFile_, helpFile); }
    HRESULT STDMETHODCALLTYPE SetHelpContext(DWORD helpContext) override
    {
        helpContext_ = helpContext;
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE GetGUID(GUID* guid) override { return give(guid_, guid); }
    HRESULT STDMETHODCALLTYPE GetSource(BSTR* source) override { return give(source_, source); }
    HRESULT STDMETHODCALLTYPE GetDescription(BSTR* text) override { return give(description_, text); }
    HRESULT STDMETHODCALLTYPE GetHelpFile(BSTR* helpFile) override { return give(helpFile_, helpFile); }
    HRESULT STDMETHODCALLTYPE GetHelpContext(DWORD* context) override { return give(helpContext_, context); }

private:
    ~ErrorInfo()
    {
        for (BSTR text : {source_, description_, helpFile_})
            SysFreeString(text);
    }

    static HRESULT set(BSTR& field, LPOLESTR text)
    {
        return SysReAllocString(&field, text) ? S_OK : E_OUTOFMEMORY;
    }
    static HRESULT give(BSTR field, BSTR* text)
    {
        if (!text)
            return E_POINTER;
        *text = SysAllocString(field);
        return *text || !field ? S_OK : E_OUTOFMEMORY;
    }
    template <class Value> static HRESULT give(const Value& field, Value* value)
    {
        if (!value)
            return E_POINTER;
        *value = field;
        return S_OK;
    }

    std::atomic<ULONG> references_ = 1;
    GUID guid_{};
    BSTR source_ = nullptr, description_ = nullptr, helpFile_ = nullptr;
    DWORD helpContext_ = 0;
};

} // namespace

HRESULT GetErrorInfo(ULONG reserved, IErrorInfo** info)
{
    if (!info || reserved != 0)
        return E_INVALIDARG;
    ThreadState* const state = ThreadState::find();
    *info = state ? state->errorInfo.release() : nullptr;
    return *info ? S_OK : S_FALSE;
}

HRESULT SetErrorInfo(ULONG reserved, IErrorInfo* info)
{
    if (reserved != 0)
        return E_INVALIDARG;
    ThreadState* const state = info ? ThreadState::findOrMake() : ThreadState::find();
    if (state) {
        if (info)
            info->AddRef();
        state->errorInfo.reset(info);
    }
    return state || !info ? S_OK : E_OUTOFMEMORY;
}

HRESULT CreateErrorInfo(ICreateErrorInfo** info)
{
    if (!info)
        return E_INVALIDARG;
    *info = new (std::nothrow) ErrorInfo;
    return *info ? S_OK : E_OUTOFMEMORY;
}
