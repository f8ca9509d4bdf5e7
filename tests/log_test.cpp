// What a server tells its operator.
#include "Log.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>
#include <sstream>

namespace vqloan::test {

using client::Log;
using namespace std::chrono_literals;

Log::Clock::time_point pretendedNow{};

TEST(Log, AnHourOfChangingTroublesIsLessThanAPage)
{
    std::ostringstream told;
    std::streambuf* const before = std::cerr.rdbuf(told.rdbuf());
    Log log([] { return pretendedNow; });
    // Two that alternate all the time, one that comes and goes, and a late one, of which a peer has written
    // the text.
    for (int second = 0; second < 3600; ++second, pretendedNow += 1s) {
        log.trouble(second % 2 == 0 ? "a locked table" : "a full disk", "it cannot be read");
        if (second % 15 == 0)
            log.trouble("a host that comes and goes", "nobody is there");
        if (second == 3000)
            log.trouble("a request", "strange: \x1B[2J\n\xE2\x80\xAE");
        log.tellWhatIsOver();
    }
    std::cerr.setstate(std::ios::badbit); // as a full disk leaves it
    log.tellAll();
    std::cerr.rdbuf(before);

    const std::string page = told.str();
    EXPECT_LT(std::ranges::count(page, '\n'), 25) << page;
    for (const char* line : {"a locked table (came 1800 times)", "a full disk (came 1800 times)",
                             "error: strange: \\x1B[2J\\x0A\\x202E\n", "no more: a request (came once)"})
        EXPECT_NE(page.find(line), page.npos) << line << '\n' << page;
}

} // namespace vqloan::test
