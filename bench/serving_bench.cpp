// One exchanged copy through `vqloan gateway` and `vqloan host`, beside the same exchange with a responder
// that only reads the request and puts a prepared answer in its place, and beside the bare system calls of
// both ends. Then what the servers cost while nobody asks, and how long 10,000 requests take that lie there
// at once. Directories as for exchange_bench.
#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <thread>

#include "RatioReporter.h"
#include "component/DispSvr.h"
#include "platform/program/Program.h"

namespace {

using namespace vqloan;
using namespace std::chrono_literals;
namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

const fs::path vqloanFile = program::file().parent_path() / "vqloan";

// A process that is killed with the object, and dies with this one.
class Process
{
public:
    explicit Process(const std::function<void()>& work) : id_(fork())
    {
        if (id_ == 0) {
            work();
            _exit(127);
        }
    }
    ~Process()
    {
        kill(id_, SIGKILL);
        waitpid(id_, nullptr, 0);
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    pid_t id() const { return id_; }
    double cpuSeconds() const
    {
        clockid_t clock{};
        timespec used{};
        clock_getcpuclockid(id_, &clock);
        clock_gettime(clock, &used);
        return static_cast<double>(used.tv_sec) + 1e-9 * static_cast<double>(used.tv_nsec);
    }

private:
    pid_t id_;
};

std::function<void()> vqloanWith(std::vector<std::string> words)
{
    return [words]() mutable {
        const int nowhere = open("/dev/null", O_RDWR);
        dup2(nowhere, 1);
        dup2(nowhere, 2);
        std::vector<char*> arguments;
        for (std::string& word : words)
            arguments.push_back(word.data());
        arguments.push_back(nullptr);
        execv(vqloanFile.c_str(), arguments.data());
    };
}

struct Exchange
{
    const char* kind;
    const char* directory; // in the site
    const char* request;
    const char* answer;
    const char* requestLine;
    const char* answerLine;
    const char16_t* shown;
};
constexpr std::array<Exchange, 2> exchanges{{
    {"SQL", "gateway", "ZSQL_007.CL1", "ZSQL_007.CL2", "WL,KA000001,00\r\n", "00\tDisponibile\tx\r\n",
     u"Disponibile"},
    {"7000", "host", "Z7000_07.CL1", "Z7000_07.CL2", "WL,00000001\r\n", "DISPONIBILE\r\n", u"DISPONIBILE"},
}};

struct Site
{
    Site()
    {
        std::string pattern = (fs::temp_directory_path() / "vqloan-serving-XXXXXX").string();
        if (!mkdtemp(pattern.data()))
            throw std::runtime_error("no scratch directory");
        directory = pattern;
        const Process maker(vqloanWith({"vqloan", "site", pattern, "--sample", "--copies=1000"}));
        int status = 1;
        if (waitpid(maker.id(), &status, 0) != maker.id() || status != 0)
            throw std::runtime_error("no site");
    }
    ~Site() { fs::remove_all(directory); }
    fs::path directory;
};

void write(const fs::path& file, std::string_view text)
{
    const int opened = open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (opened < 0 || ::write(opened, text.data(), text.size()) < 0)
        throw std::runtime_error("cannot write");
    close(opened);
}

bool read(const fs::path& file)
{
    std::array<char, 4096> text;
    const int opened = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (opened < 0)
        return false;
    const bool any = ::read(opened, text.data(), text.size()) > 0;
    close(opened);
    return any;
}

// Woken by each request; answers what it is told to.
void respond(const fs::path& directory, const Exchange& exchange)
{
    const fs::path request = directory / exchange.request, answer = directory / exchange.answer,
                   aside = directory / "aside";
    const int notices = inotify_init1(IN_CLOEXEC);
    inotify_add_watch(notices, directory.c_str(), IN_CLOSE_WRITE);
    alignas(inotify_event) std::array<char, 4096> events;
    while (::read(notices, events.data(), events.size()) > 0)
        if (read(request)) {
            fs::remove(request);
            write(aside, exchange.answerLine);
            fs::rename(aside, answer);
        }
}

void bareClient(benchmark::State& state, const fs::path& directory, const Exchange& exchange)
{
    const fs::path request = directory / exchange.request, answer = directory / exchange.answer;
    for (auto _ : state) {
        write(request, exchange.requestLine);
        while (!read(answer))
            sched_yield();
        unlink(answer.c_str());
    }
}

void component(benchmark::State& state, const Site& site, const Exchange& exchange)
{
    DispSvr svr;
    svr.SettingsDir = site.directory.u16string();
    if (svr.OpenDatabase(fs::path(exchange.kind).u16string()))
        state.SkipWithError("the site cannot be opened");
    for (auto _ : state)
        if (svr.VisNre(u"00\t\tKA000001\t\r\n").find(exchange.shown) == std::u16string::npos)
            state.SkipWithError("another answer");
}

std::ptrdiff_t answers(const fs::path& directory)
{
    return std::count_if(fs::directory_iterator(directory), {},
                         [](const fs::directory_entry& file) { return file.path().extension() == ".CL2"; });
}

void queue(const Process& gateway, const fs::path& directory)
{
    constexpr int count = 10'000;
    kill(gateway.id(), SIGSTOP);
    for (int client = 1000; client < 1000 + count; ++client)
        write(directory / ("ZSQL_" + std::to_string(client) + ".CL1"), exchanges[0].requestLine);
    const auto begun = Clock::now();
    kill(gateway.id(), SIGCONT);
    while (answers(directory) < count && Clock::now() - begun < 20s)
        std::this_thread::sleep_for(10ms);
    std::printf("%d requests at once: %td answered in %.2f s\n", count, answers(directory),
                std::chrono::duration<double>(Clock::now() - begun).count());
}

} // namespace

int main(int argc, char** argv)
{
    const Site served, answered;
    const std::array<Process, 2> servers{
        Process(vqloanWith({"vqloan", "gateway", "--site", served.directory})),
        Process(vqloanWith({"vqloan", "host", "--site", served.directory, served.directory / "host.txt"}))};
    const std::array<Process, 2> responders{
        Process([&] { respond(answered.directory / exchanges[0].directory, exchanges[0]); }),
        Process([&] { respond(answered.directory / exchanges[1].directory, exchanges[1]); })};
    std::this_thread::sleep_for(1s); // until they watch
    for (const Exchange& exchange : exchanges) {
        const std::string name = std::string(exchange.kind) + ", one copy exchanged/";
        benchmark::RegisterBenchmark((name + "real").c_str(), component, std::cref(served), exchange)
            ->UseRealTime();
        benchmark::RegisterBenchmark((name + "responder").c_str(), component, std::cref(answered), exchange)
            ->UseRealTime();
        benchmark::RegisterBenchmark((name + "bare").c_str(), bareClient,
                                     answered.directory / exchange.directory, exchange)
            ->UseRealTime();
    }
    if (const int status = bench::run(argc, argv, bench::manyShort); status != 0)
        return status;

    std::this_thread::sleep_for(3s); // until they look seldom
    constexpr auto idle = 10s;
    const std::array<double, 2> before{servers[0].cpuSeconds(), servers[1].cpuSeconds()};
    std::this_thread::sleep_for(idle);
    for (std::size_t i = 0; i < servers.size(); ++i)
        std::printf("%s server, idle: %.3f %% of a core\n", exchanges[i].kind,
                    100 * (servers[i].cpuSeconds() - before[i]) /
                        std::chrono::duration<double>(idle).count());
    queue(servers[0], served.directory / exchanges[0].directory);
}
