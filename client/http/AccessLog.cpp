#include "http/AccessLog.h"

#include <algorithm>
#include <cstdio>
#include <iostream>

#include "Log.h"

namespace vqloan::client::http {

namespace {

// Almost every one is plain, and is taken as it is.
std::string shown(const std::string& text)
{
    const bool isPlain = std::ranges::all_of(text, [](char c) { return c > ' ' && c < 0x7F; });
    std::string all = isPlain ? text : printable(text);
    for (auto at = all.find('"'); at != all.npos; at = all.find('"', at + 4))
        all.replace(at, 1, "\\x22");
    return all.empty() ? "-" : all;
}

} // namespace

AccessLog::AccessLog(bool isQuiet) : isQuiet_(isQuiet)
{
    std::cerr.tie(nullptr); // troubles are told, and the end is not held up, when nobody reads the lines
}

void AccessLog::tell(const std::string& peer, const std::string& method, const std::string& target,
                     int status, std::size_t bytes, Clock::duration time)
{
    if (isQuiet_)
        return;
    char end[64];
    std::snprintf(end, sizeof end, " %d %zu %.4f\n", status, bytes,
                  std::chrono::duration<double>(time).count());
    const std::string line =
        timeOfDay() + ' ' + shown(peer) + " \"" + shown(method) + ' ' + shown(target) + '"' + end;
    const std::lock_guard lock(mutex_);
    std::cout << line << std::flush;
}

} // namespace vqloan::client::http
