// Automation objects whose members are functions by name, as counterparts of what the component calls late
// bound.
#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/automation/Automation.h"
#include "platform/runtime/Bstr.h"
#include "platform/runtime/ComPtr.h"
#include "platform/runtime/RuntimeError.h"
#include "platform/runtime/Text.h"
#include "platform/runtime/Variant.h"

namespace vqloan::test {

// Reference counts for an object that implements one interface beside IUnknown.
template <class Interface> class Counted : public Interface
{
public:
    virtual ~Counted() = default;
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override
    {
        *object = IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, __uuidof(Interface)) ? this : nullptr;
        if (!*object)
            return E_NOINTERFACE;
        this->AddRef();
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

private:
    std::atomic<ULONG> references_ = 1;
};

class Scripted final : public Counted<IDispatch>
{
public:
    // Arguments in a script's order. A thrown RuntimeError is reported as the object's exception.
    using Arguments = std::vector<VARIANT*>;
    using Member = std::function<Variant(const Arguments&)>;
    using Members = std::map<std::wstring, Member>;

    static ComPtr<IDispatch> object(Members members)
    {
        return ComPtr<IDispatch>::adopt(new Scripted(std::move(members)));
    }

    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override
    {
        *count = 0;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT, LCID, DISPID* ids) override
    {
        const auto found = members_.find(*names);
        *ids = found == members_.end() ? DISPID_UNKNOWN
                                       : static_cast<DISPID>(std::distance(members_.begin(), found));
        return found == members_.end() ? DISP_E_UNKNOWNNAME : S_OK;
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* given, VARIANT* result,
                                     EXCEPINFO* exception, UINT*) override
    {
        Arguments arguments;
        for (UINT i = given->cArgs; i-- > 0;)
            arguments.push_back(&given->rgvarg[i]);
        try {
            Variant answer = std::next(members_.begin(), id)->second(arguments);
            if (result)
                *result = answer.release();
            return S_OK;
        } catch (const RuntimeError& failure) {
            *exception = {};
            exception->scode =
                failure.number > 0 ? static_cast<SCODE>(0x800A0000) + failure.number : failure.number;
            exception->bstrSource = Bstr(failure.source).release();
            exception->bstrDescription = Bstr(failure.description).release();
            return DISP_E_EXCEPTION;
        }
    }

private:
    explicit Scripted(Members members) : members_(std::move(members)) {}

    Members members_;
};

class Factory final : public Counted<IClassFactory>
{
public:
    using Make = std::function<ComPtr<IDispatch>()>;
    explicit Factory(Make make) : make_(std::move(make)) {}

    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID iid, void** object) override
    {
        const auto made = make_();
        return made ? made->QueryInterface(iid, object) : E_FAIL;
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }

private:
    Make make_;
};

// In the place of a registered class, for this thread.
class ClassObject
{
public:
    ClassObject(REFCLSID clsid, Factory::Make make)
    {
        const auto factory = ComPtr<Factory>::adopt(new Factory(std::move(make)));
        CoRegisterClassObject(clsid, factory.get(), CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &registration_);
    }
    ~ClassObject() { CoRevokeClassObject(registration_); }
    ClassObject(const ClassObject&) = delete;
    ClassObject& operator=(const ClassObject&) = delete;

private:
    DWORD registration_ = 0;
};

inline Variant variantOf(const ComPtr<IDispatch>& object)
{
    VARIANT held;
    VariantInit(&held);
    held.vt = VT_DISPATCH;
    held.pdispVal = object.get();
    return Variant::copyOf(held);
}

using Arguments = Scripted::Arguments;

// A member that gives nothing back.
inline Scripted::Member doing(std::function<void(const Arguments&)> step)
{
    return [step = std::move(step)](const Arguments& arguments) {
        step(arguments);
        return Variant();
    };
}

inline std::string textOf(const VARIANT* argument)
{
    return text::toUtf8(Variant::copyOf(*argument).toText());
}

// An argument as a journal writes it: "text", 7, missing, object, nothing; "&" in front when by reference.
inline std::string shown(const VARIANT& argument)
{
    if (argument.vt == (VT_BYREF | VT_VARIANT))
        return '&' + shown(*argument.pvarVal);
    if (argument.vt == (VT_BYREF | VT_DISPATCH))
        return *argument.ppdispVal ? "&object" : "&nothing";
    if (argument.vt == VT_DISPATCH)
        return argument.pdispVal ? "object" : "nothing";
    if (Variant::isMissing(argument))
        return "missing";
    std::string value = textOf(&argument);
    if ((argument.vt & VT_TYPEMASK) == VT_BSTR)
        value.insert(0, 1, '"').push_back('"');
    return (argument.vt & VT_BYREF ? "&" : "") + value;
}

// The members, each of which first writes its call into the journal as a line: `object`, name, arguments.
inline Scripted::Members noting(std::string& journal, const std::string& object, Scripted::Members members)
{
    for (auto& [name, member] : members)
        member = [&journal, called = object + std::string(name.begin(), name.end()),
                  answer = std::move(member)](const Arguments& arguments) {
            std::string line = called;
            for (const VARIANT* argument : arguments)
                line += (argument == arguments.front() ? " " : ", ") + shown(*argument);
            journal += line + "\n";
            return answer(arguments);
        };
    return members;
}

} // namespace vqloan::test
