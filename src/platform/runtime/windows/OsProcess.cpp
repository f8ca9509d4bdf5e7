#include "platform/runtime/OsProcess.h"

#include "platform/automation/Automation.h"
#include "platform/runtime/Bstr.h"

namespace vqloan::os {
namespace {

// Calls `fill(buffer, size)` with growing buffers until what it writes fits; it gives the length written, or
// at least the size when there was no room.
template <class Fill> std::u16string grown(Fill fill)
{
    std::u16string text(MAX_PATH, u'\0');
    for (;;) {
        const DWORD length = fill(reinterpret_cast<OLECHAR*>(text.data()), static_cast<DWORD>(text.size()));
        if (length < text.size()) {
            text.resize(length);
            return text;
        }
        text.resize(text.size() * 2);
    }
}

} // namespace

std::optional<std::u16string> environmentVariable(const std::u16string& name)
{
    if (name.empty() || name.find_first_of(std::u16string_view(u"=\0", 2)) != name.npos)
        return std::nullopt;
    bool found = true;
    std::u16string value = grown([&](OLECHAR* buffer, DWORD size) {
        SetLastError(ERROR_SUCCESS); // an empty value has length 0 too, and sets no error
        const DWORD length = GetEnvironmentVariableW(toOle(name.c_str()), buffer, size);
        found = length != 0 || GetLastError() == ERROR_SUCCESS;
        return length;
    });
    return found ? std::optional(std::move(value)) : std::nullopt;
}

std::u16string loadedFile()
{
    HMODULE module = nullptr;
    constexpr DWORD flags =
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    GetModuleHandleExW(flags, reinterpret_cast<const OLECHAR*>(&loadedFile), &module);
    return grown([module](OLECHAR* buffer, DWORD size) { return GetModuleFileNameW(module, buffer, size); });
}

std::chrono::year_month_day localDate()
{
    SYSTEMTIME now;
    GetLocalTime(&now);
    return {std::chrono::year(now.wYear), std::chrono::month(now.wMonth), std::chrono::day(now.wDay)};
}

std::int64_t milliseconds() noexcept
{
    using namespace std::chrono;
    return duration_cast<std::chrono::milliseconds>(steady_clock::now().time_since_epoch()).count();
}

std::u16string errorMessage(std::int32_t code)
{
    OLECHAR* found = nullptr;
    constexpr DWORD flags =
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
    const DWORD length = FormatMessageW(flags, nullptr, static_cast<DWORD>(code), 0,
                                        reinterpret_cast<OLECHAR*>(&found), 0, nullptr);
    if (length == 0)
        return {};
    std::u16string text(toText(found), length);
    LocalFree(found);
    text.erase(text.find_last_not_of(u"\r\n ") + 1); // texts end in a line end
    return text;
}

} // namespace vqloan::os
