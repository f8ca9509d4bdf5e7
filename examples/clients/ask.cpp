// A client in C++: asks about one copy through the registered class.
//
//     ask KIND LIBRARY INVENTORY        KIND is SQL2, SQL or 7000
//
// It needs the published interface (component/face/DispSvrInterface.h) and the automation functions: the
// system's own on Windows, libautomation.so elsewhere. `vqloan register --site DIR` makes the class known.
#include <cstdio>
#include <string>

#include "component/face/DispSvrInterface.h"

using namespace vqloan;

namespace {

// Arguments and answers are plain ASCII here, to keep to the subject; the interface speaks UTF-16.
BSTR textOf(const std::string& text)
{
    BSTR made = SysAllocStringLen(nullptr, static_cast<UINT>(text.size()));
    for (std::size_t i = 0; i < text.size(); ++i)
        made[i] = static_cast<unsigned char>(text[i]);
    return made;
}

void print(BSTR text)
{
    for (UINT i = 0; i < SysStringLen(text); ++i)
        std::putchar(text[i] < 0x80 ? static_cast<int>(text[i]) : '?');
}

int ask(_DispSvr* server, const char* kind, const std::string& library, const std::string& inventory)
{
    // True is the failure here.
    VARIANT what;
    VariantInit(&what);
    what.vt = VT_BSTR;
    what.bstrVal = textOf(kind);
    VARIANT_BOOL failed = VARIANT_TRUE;
    const HRESULT opened = server->OpenDatabase(&what, &failed);
    VariantClear(&what);
    if (FAILED(opened) || failed) {
        LONG number = 0;
        server->ErrNumber(&number);
        std::fprintf(stderr, "cannot open %s: failure %ld\n", kind, static_cast<long>(number));
        return 2;
    }

    // Library code, shelf mark, inventory number, note. Handle and Bid are not looked at.
    BSTR request = textOf(library + "\t\t" + inventory + "\t\r\n");
    BSTR handle = nullptr, bid = nullptr, answer = nullptr;
    const HRESULT asked = server->VisNre(&handle, &bid, request, &answer);
    SysFreeString(request);
    const bool answered = SUCCEEDED(asked) && SysStringLen(answer) > 0;
    print(answer);
    SysFreeString(answer);
    server->ShutDown();
    return answered ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 4) {
        std::fprintf(stderr, "usage: ask KIND LIBRARY INVENTORY\n");
        return 2;
    }
    CoInitialize(nullptr);
    BSTR name = textOf("VQLoan.DispSvr");
    CLSID clsid;
    _DispSvr* server = nullptr;
    int status = 2;
    if (SUCCEEDED(CLSIDFromProgID(name, &clsid)) &&
        SUCCEEDED(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID__DispSvr,
                                   reinterpret_cast<void**>(&server)))) {
        status = ask(server, argv[1], argv[2], argv[3]);
        server->Release();
    } else {
        std::fprintf(stderr, "the class VQLoan.DispSvr is not registered\n");
    }
    SysFreeString(name);
    CoUninitialize();
    return status;
}
