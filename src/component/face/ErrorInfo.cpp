#include "component/face/ErrorInfo.h"

#include "platform/runtime/Bstr.h"
#include "platform/runtime/ComPtr.h"

namespace vqloan {
namespace {

HRESULT resultOf(std::int32_t number) noexcept
{
    constexpr std::uint32_t runtimeFailures = 0x800A0000;
    if (number >= 1 && number <= 65535)
        return static_cast<HRESULT>(runtimeFailures + static_cast<std::uint32_t>(number));
    // A failure must not look like success to the caller.
    return number < 0 ? number : resultOf(static_cast<std::int32_t>(Failure::InternalError));
}

// The setters copy the text, but take it as one that they could write to.
LPOLESTR writable(const char16_t* text) noexcept
{
    return const_cast<LPOLESTR>(toOle(text));
}

} // namespace

HRESULT reportFailure(const RuntimeError& failure, REFIID iid) noexcept
{
    ComPtr<ICreateErrorInfo> details;
    ComPtr<IErrorInfo> info;
    if (SUCCEEDED(CreateErrorInfo(details.address()))) {
        details->SetGUID(iid);
        details->SetSource(writable(failure.source.empty() ? u"VQLoan" : failure.source.c_str()));
        details->SetDescription(writable(failure.description.c_str()));
        details->SetHelpFile(writable(failure.helpFile.c_str()));
        details->SetHelpContext(static_cast<DWORD>(failure.helpContext));
        if (SUCCEEDED(details->QueryInterface(IID_IErrorInfo, info.addressVoid())))
            SetErrorInfo(0, info.get());
    }
    return resultOf(failure.number);
}

HRESULT reportException(HRESULT failure, EXCEPINFO* exception) noexcept
{
    ComPtr<IErrorInfo> info;
    const bool explained = GetErrorInfo(0, info.address()) == S_OK && info;
    if (exception) {
        *exception = {};
        exception->scode = failure;
        if (explained) {
            info->GetSource(&exception->bstrSource);
            info->GetDescription(&exception->bstrDescription);
            info->GetHelpFile(&exception->bstrHelpFile);
            info->GetHelpContext(&exception->dwHelpContext);
        }
    }
    return DISP_E_EXCEPTION;
}

} // namespace vqloan
