#include "Log.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <iostream>

#include "platform/runtime/Text.h"

namespace vqloan::client {

namespace {

using namespace std::chrono_literals;

constexpr Log::Clock::duration shortestQuiet = 10s, longestQuiet = 30min, forgotten = 2h;
constexpr std::size_t mostKinds = 50;
constexpr const char* others = "other troubles";

// Besides control characters, those that turn the direction of what follows, and line ends of Unicode's.
bool isShown(char16_t unit)
{
    return unit >= 0x20 && !(unit >= 0x7F && unit < 0xA0) && !(unit >= 0x200E && unit <= 0x200F) &&
           !(unit >= 0x2028 && unit <= 0x202E) && !(unit >= 0x2066 && unit <= 0x2069) && unit != 0xFEFF;
}

} // namespace

std::string timeOfDay()
{
    static std::mutex converting; // which has one place for its result
    const std::lock_guard lock(converting);
    const std::time_t now = std::time(nullptr);
    std::tm utc = *std::gmtime(&now);
    const std::tm local = *std::localtime(&now);
    utc.tm_isdst = local.tm_isdst;
    // Not by strftime, which writes the zone's name on Windows.
    const int offset = static_cast<int>(std::difftime(now, std::mktime(&utc))) / 60;
    char text[32], zone[16];
    std::snprintf(zone, sizeof zone, "%+03d%02d", offset / 60, std::abs(offset % 60));
    return std::string(text, std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &local)) + zone;
}

std::string printable(std::string_view utf8)
{
    std::u16string shown;
    for (const char16_t unit : text::fromUtf8(utf8)) {
        if (isShown(unit)) {
            shown += unit;
            continue;
        }
        char code[8];
        std::snprintf(code, sizeof code, "\\x%02X", static_cast<unsigned>(unit));
        shown += text::fromUtf8(code);
    }
    return text::toUtf8(shown);
}

void Log::tellAll()
{
    const std::lock_guard lock(mutex_);
    for (auto& [kind, trouble] : troubles_)
        over(kind, trouble, "until the end: ");
}

void Log::trouble(std::string_view kind, std::string_view text)
{
    const std::lock_guard lock(mutex_);
    const bool isKnown = troubles_.contains(std::string(kind)) || troubles_.size() < mostKinds;
    Trouble& trouble = troubles_[isKnown ? std::string(kind) : others];
    trouble.last = now_();
    if (++trouble.count > 1)
        return;
    trouble.quiet = std::clamp<Clock::duration>(2 * trouble.quiet, shortestQuiet, longestQuiet);
    write("error", text);
}

void Log::tellWhatIsOver()
{
    const std::lock_guard lock(mutex_);
    const auto now = now_();
    for (auto it = troubles_.begin(); it != troubles_.end();) {
        auto& [kind, trouble] = *it;
        if (now - trouble.last > trouble.quiet)
            over(kind, trouble, "no more: ");
        it = now - trouble.last > forgotten ? troubles_.erase(it) : std::next(it);
    }
}

void Log::over(const std::string& kind, Trouble& trouble, const char* word)
{
    if (trouble.count > 0)
        write("info", word + kind +
                          (trouble.count == 1 ? " (came once)"
                                              : " (came " + std::to_string(trouble.count) + " times)"));
    trouble.count = 0;
}

// In one piece, so that lines of several threads do not mix.
void Log::write(const char* level, std::string_view event)
{
    static std::mutex writing;
    const std::lock_guard lock(writing);
    const std::string line = timeOfDay() + ' ' + level + ": " + printable(event) + '\n';
    std::cerr.clear(); // one line that could not be written, as on a full disk, is not the end of the log
    std::cerr << line << std::flush;
}

} // namespace vqloan::client
