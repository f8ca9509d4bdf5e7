#include "platform/automation/posix/Locale.h"

#include <cerrno>
#include <cstdlib>
#include <cuchar>
#include <new>
#include <string>
#include <string_view>
#include <utility>

#include <langinfo.h>
#include <locale.h>

#include "platform/automation/posix/ThreadState.h"

namespace automation {

namespace {

const char* setting(const char* category) noexcept
{
    for (const char* name : {"LC_ALL", category, "LANG"})
        if (const char* value = std::getenv(name); value && *value)
            return value;
    return "C";
}

// What a named locale says about one category; texts are in the character set that comes with it.
class SystemLocale
{
public:
    SystemLocale(int category, const std::string& name)
        : handle_(isPlain(name) ? locale_t{} : newlocale(category | LC_CTYPE_MASK, name.c_str(), locale_t{}))
    {
        if (!handle_ && !isPlain(name) && errno == ENOMEM)
            throw std::bad_alloc();
    }
    ~SystemLocale()
    {
        if (handle_)
            freelocale(handle_);
    }
    SystemLocale(const SystemLocale&) = delete;
    SystemLocale& operator=(const SystemLocale&) = delete;

    explicit operator bool() const noexcept { return handle_ != locale_t{}; }
    std::string_view text(nl_item item) const noexcept { return nl_langinfo_l(item, handle_); }
    // The first character of a text, 0 when it is empty or outside 16 bits.
    char16_t character(nl_item item) const noexcept
    {
        const std::string_view bytes = text(item);
        const locale_t before = uselocale(handle_); // of this thread only
        char16_t result = 0;
        std::mbstate_t state{};
        if (std::mbrtoc16(&result, bytes.data(), bytes.size(), &state) > bytes.size())
            result = 0;
        uselocale(before);
        return result;
    }

private:
    // The system gives "C" no thousands separator.
    static bool isPlain(std::string_view name) noexcept
    {
        return name == "C" || name == "POSIX" || name.starts_with("C.");
    }

    locale_t handle_;
};

void setNumbers(Locale& locale, const std::string& name)
{
    const SystemLocale system(LC_NUMERIC_MASK, name);
    if (!system)
        return;
    if (const char16_t decimal = system.character(RADIXCHAR))
        locale.decimal = decimal;
    locale.thousands = system.character(THOUSEP);
}

// Reads the pattern of a short date, such as "%d/%m/%Y".
void setDates(Locale& locale, const std::string& name)
{
    const SystemLocale system(LC_TIME_MASK, name);
    if (!system)
        return;
    std::string_view pattern = system.text(D_FMT);
    if (pattern == "%F")
        pattern = "%Y-%m-%d";
    else if (pattern == "%D")
        pattern = "%m/%d/%y";
    const std::size_t first = pattern.find_first_of("demyY");
    if (first == pattern.npos)
        return;
    const char leading = pattern[first];
    locale.order = leading == 'm'                     ? DateOrder::MonthDayYear
                   : leading == 'y' || leading == 'Y' ? DateOrder::YearMonthDay
                                                      : DateOrder::DayMonthYear;
    // "%-d" asks for no padding and does not separate.
    for (std::size_t at = 1; at < pattern.size(); ++at)
        if ((pattern[at] == '/' || pattern[at] == '-' || pattern[at] == '.') && pattern[at - 1] != '%') {
            locale.dateSeparator = static_cast<char16_t>(pattern[at]);
            break;
        }
}

} // namespace

const Locale& userLocale()
{
    ThreadState* const state = ThreadState::findOrMake();
    if (!state)
        throw std::bad_alloc();
    UserLocale& user = state->locale;
    const char* numbers = setting("LC_NUMERIC");
    const char* dates = setting("LC_TIME");
    if (user.numbers != numbers || user.dates != dates) {
        UserLocale now{numbers, dates, {}};
        setNumbers(now.conventions, now.numbers);
        setDates(now.conventions, now.dates);
        user = std::move(now);
    }
    return user.conventions;
}

} // namespace automation
