#include "platform/runtime/OsProcess.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <string_view>

#include <dlfcn.h>
#include <limits.h>
#include <unistd.h>

#include "platform/runtime/OsFile.h"
#include "platform/runtime/RuntimeError.h"
#include "platform/runtime/Text.h"

namespace vqloan::os {
namespace {

// What the loader knows of this file, looked at while it is being loaded: the loader keeps the path it was
// given, and a relative one means something else once the client has changed its working directory. It takes
// no memory, as a failure at that time would end the client's program; and it is there for whatever runs
// after this module's static objects have gone.
struct LoadedFile
{
    LoadedFile() noexcept
    {
        Dl_info info;
        if (::dladdr(this, &info) != 0 && info.dli_fname)
            name = info.dli_fname;
        if (*name == '/' || !::getcwd(directory, sizeof directory))
            directory[0] = '\0';
    }

    const char* name = ""; // the loader's own copy
    char directory[PATH_MAX];
};

const LoadedFile loaded;

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
    return text::fromBytes(value);
}

std::u16string loadedFile()
{
    // Not resolved further: a link to the component in another directory is a site of that directory. And
    // ".." stays: behind a link to a directory it does not lead back to where the link is.
    return pathText(std::filesystem::path(loaded.directory) / loaded.name);
}

std::chrono::year_month_day localDate()
{
    const std::time_t now = std::time(nullptr);
    if (now == std::time_t{-1}) // a day of 1969 would make loans of overdue ones
        throw RuntimeError(Failure::DeviceIoError, errno);
    // localtime_r alone need not notice another time zone, and looking for one asks the system for a file.
    static std::atomic<std::time_t> looked;
    if (looked != now) {
        ::tzset();
        looked = now;
    }
    std::tm local{};
    ::localtime_r(&now, &local);
    return {std::chrono::year(local.tm_year + 1900),
            std::chrono::month(static_cast<unsigned>(local.tm_mon + 1)),
            std::chrono::day(static_cast<unsigned>(local.tm_mday))};
}

std::int64_t milliseconds() noexcept
{
    // The clock is there and so is the place for its time: what fails here is not the clock, and not for
    // good.
    timespec now;
    while (::clock_gettime(CLOCK_MONOTONIC, &now) != 0)
        continue;
    return now.tv_sec * 1000LL + now.tv_nsec / 1'000'000;
}

std::u16string errorMessage(std::int32_t code)
{
    char buffer[256] = "";
    return text::fromBytes(textOf(::strerror_r(code, buffer, sizeof buffer), buffer));
}

} // namespace vqloan::os
