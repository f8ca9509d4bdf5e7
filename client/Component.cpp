#include "Component.h"

#include <cstdio>
#include <stdexcept>

#include "platform/runtime/Bstr.h"
#include "platform/runtime/OsFile.h"
#include "platform/runtime/Text.h"
#include "platform/runtime/Variant.h"

namespace vqloan::client {

namespace {

// Throws for a failed call, with the text of the thread's error information where there is one.
void check(HRESULT result, const char* call)
{
    if (!FAILED(result))
        return;
    char number[16];
    std::snprintf(number, sizeof number, "0x%08X", static_cast<unsigned>(result));
    std::string message = std::string(call) + " failed with " + number;
    ComPtr<IErrorInfo> info;
    Bstr description;
    if (GetErrorInfo(0, info.address()) == S_OK && SUCCEEDED(info->GetDescription(description.address())))
        message += ": " + text::toUtf8(description.view());
    throw std::runtime_error(message);
}

ComPtr<_DispSvr> createObject(const program::Library& library)
{
    using ClassObject = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);
    ComPtr<IClassFactory> factory;
    check(library.function<ClassObject>("DllGetClassObject")(CLSID_DispSvr, IID_IClassFactory,
                                                             factory.addressVoid()),
          "DllGetClassObject");
    ComPtr<_DispSvr> object;
    check(factory->CreateInstance(nullptr, IID__DispSvr, object.addressVoid()), "CreateInstance");
    return object;
}

} // namespace

std::string Failure::text() const
{
    std::string all = std::to_string(number) + " " + description + " (" + source;
    if (systemError != 0)
        all += ", system error " + std::to_string(systemError);
    return all + ")";
}

Component::Component(const Site& site) : library_(site.source()), object_(createObject(library_))
{
    if (site.ownComponent())
        return; // perhaps an older one, which cannot be told
    ComPtr<IDispSvrSite> settings;
    check(object_->QueryInterface(IID_IDispSvrSite, settings.addressVoid()), "QueryInterface");
    check(settings->put_Directory(Bstr(os::pathText(site.directory())).get()), "put Directory");
}

bool Component::open(std::string_view kind)
{
    Variant name(text::fromUtf8(kind));
    VARIANT_BOOL failed = VARIANT_FALSE;
    check(object_->OpenDatabase(name.address(), &failed), "OpenDatabase");
    return failed == VARIANT_FALSE;
}

void Component::setOwnLibrary(std::string_view library)
{
    check(object_->put_BibPosse(Bstr(text::fromUtf8(library)).get()), "put BibPosse");
}

std::u16string Component::answer(std::u16string_view requestLines)
{
    Bstr handle, bid, answer;
    check(object_->VisNre(handle.address(), bid.address(), Bstr(requestLines).get(), answer.address()),
          "VisNre");
    return std::u16string(answer.view());
}

Failure Component::lastFailure()
{
    Variant number, source, description, systemError;
    check(object_->LastError(number.address(), source.address(), description.address(), nullptr, nullptr,
                             systemError.address()),
          "LastError");
    return {number.toLong(), text::toUtf8(source.toText()), text::toUtf8(description.toText()),
            systemError.toLong()};
}

void Component::registerComponent() const
{
    check(library_.function<HRESULT(STDAPICALLTYPE*)()>("DllRegisterServer")(),
          "The registry of classes cannot be changed: DllRegisterServer");
    // Read back, as any client does.
    CLSID registered{};
    check(CLSIDFromProgID(toOle(progId), &registered), "Looking for the registered class");
    ComPtr<IClassFactory> factory;
    check(
        CoGetClassObject(registered, CLSCTX_INPROC_SERVER, nullptr, IID_IClassFactory, factory.addressVoid()),
        "Loading the registered component");
}

void Component::unregisterComponent() const
{
    check(library_.function<HRESULT(STDAPICALLTYPE*)()>("DllUnregisterServer")(),
          "The registry of classes cannot be changed: DllUnregisterServer");
}

} // namespace vqloan::client
