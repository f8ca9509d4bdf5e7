// What a server tells its operator: one line an event on standard error, with time and level.
#pragma once

#include <chrono>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

namespace vqloan::client {

// Control characters, and what else would change how the rest of a line is shown, as \xNN. Texts of peers go
// to terminals and logs in this form only.
std::string printable(std::string_view utf8);
// Now, as it stands in front of each line.
std::string timeOfDay();

// For any number of threads. A trouble is told when it begins, and when it has not come again for a while,
// with how often it came. One that keeps coming back is believed to be over later each time, so that an hour
// of changing troubles fills a few lines and no disk.
class Log
{
public:
    using Clock = std::chrono::steady_clock;

    // `now` for tests.
    explicit Log(Clock::time_point (*now)() = &Clock::now) : now_(now) {}
    Log(const Log&) = delete;
    Log& operator=(const Log&) = delete;

    void info(std::string_view event) { write("info", event); }
    void warning(std::string_view event) { write("warning", event); }
    // `kind` is the same whenever it is the same trouble, whoever has it; `text` tells of this time.
    void trouble(std::string_view kind, std::string_view text);
    // To be called about once a second.
    void tellWhatIsOver();
    // Of every trouble that is not over, at the end.
    void tellAll();

private:
    struct Trouble
    {
        std::size_t count = 0; // 0: over
        Clock::time_point last;
        Clock::duration quiet{}; // over when it has not come for so long
    };

    void write(const char* level, std::string_view event);
    void over(const std::string& kind, Trouble& trouble, const char* word);

    Clock::time_point (*now_)();
    std::mutex mutex_;
    std::map<std::string, Trouble> troubles_;
};

} // namespace vqloan::client
