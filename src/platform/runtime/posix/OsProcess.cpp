#include "platform/runtime/OsProcess.h"

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <string_view>

#include <dlfcn.h>

#include "platform/runtime/Text.h"

namespace vqloan::os {
namespace {

std::u16string locateLoadedFile()
{
    Dl_info info;
    if (::dladdr(reinterpret_cast<const void*>(&locateLoadedFile), &info) == 0 || !info.dli_fname)
        return {};
    // Not resolved further: a link to the component in another directory is a site of that directory.
    std::error_code error;
    const auto absolute = std::filesystem::absolute(info.dli_fname, error);
    return text::fromUtf8(error ? info.dli_fname : absolute.lexically_normal().native());
}

// Found out while the file is being loaded: the loader keeps the path it was given, and a relative one means
// something else once the client has changed its working directory.
const std::u16string loadedAtStart = locateLoadedFile();

// strerror_r comes in two kinds: one gives the text, the other says whether it is in the buffer.
[[maybe_unused]] const char* textOf(const char* result, const char*)
{
    return result;
}
[[maybe_unused]] const char* textOf(int result, const char* buffer)
{
    return result == 0 ? buffer : "";
}

} // namespace

std::optional<std::u16string> environmentVariable(const std::u16string& name)
{
    // With "=" in the name the lookup would match part of another variable's value.
    if (name.empty() || name.find_first_of(std::u16string_view(u"=\0", 2)) != name.npos)
        return std::nullopt;
    const char* value = std::getenv(text::toUtf8(name).c_str());
    if (!value)
        return std::nullopt;
    return text::isUtf8(value) ? text::fromUtf8(value) : text::fromCodePage(value);
}

const std::u16string& loadedFile()
{
    return loadedAtStart;
}

std::chrono::year_month_day localDate()
{
    ::tzset(); // localtime_r alone need not notice that TZ has changed
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    return {std::chrono::year(local.tm_year + 1900),
            std::chrono::month(static_cast<unsigned>(local.tm_mon + 1)),
            std::chrono::day(static_cast<unsigned>(local.tm_mday))};
}

std::u16string errorMessage(std::int32_t code)
{
    char buffer[256] = "";
    return text::fromUtf8(textOf(::strerror_r(code, buffer, sizeof buffer), buffer));
}

} // namespace vqloan::os
