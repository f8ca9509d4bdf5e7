// One exchanged copy beside a bare loop that makes the same system calls. The other end answers at once, in
// this process: it links a prepared answer file to the name that is looked for.
// The files lie in the directory for temporary files: on a disk that takes most of the time, in memory
// (TMPDIR=/dev/shm) little.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "RatioReporter.h"
#include "component/DispSvr.h"
#include "platform/automation/Automation.h"

namespace {

using namespace vqloan;

struct Directory
{
    Directory()
    {
        path = std::filesystem::temp_directory_path() / "vqloan-exchange-bench-XXXXXX";
        if (!mkdtemp(path.data()))
            std::abort();
        std::ofstream(path + "/prepared") << "01\tDisponibile\tx\r\n";
        std::ofstream par(path + "/CLIENT.PAR");
        par << "CLIENT=1\r\nTIMEOUT=5\r\nDIR=" << path
            << "/\r\n4=\r\n5=\r\nWIDTH=80\r\n7=\r\n8=\r\n9=\r\n10=\r\n"
            << "TIMEOUTTEXT=x\r\nEMPTYTEXT=x\r\n13=\r\nZZ=no\r\ncodbib=01,AA,Civica\r\ncodbib=02,AA,Alfa\r\n";
    }
    ~Directory() { std::filesystem::remove_all(path); }
    std::string path;
} const directory;

const std::string prepared = directory.path + "/prepared";

void answerAt(const char* name)
{
    if (link(prepared.c_str(), name) != 0)
        std::abort();
}

// Neither a link nor anything else that is no regular file; negative where there is none.
int bareOpen(const char* name, int flags)
{
    struct stat status;
    const int file = open(name, flags | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0666);
    if (file >= 0 && (fstat(file, &status) != 0 || !S_ISREG(status.st_mode) ||
                      (flags != O_RDONLY && status.st_size > 0 && ftruncate(file, 0) != 0)))
        std::abort();
    return file;
}

void bareWrite(const char* name, const char* text)
{
    const int file = bareOpen(name, O_WRONLY | O_CREAT);
    if (file < 0 || write(file, text, std::strlen(text)) < 0)
        std::abort();
    close(file);
}

enum class Read
{
    firstPiece,
    untilEnd
};

bool bareRead(const char* name, Read how)
{
    char buffer[8192];
    const int file = bareOpen(name, O_RDONLY);
    if (file < 0)
        return false;
    while (read(file, buffer, sizeof buffer) > 0 && how == Read::untilEnd)
        ;
    close(file);
    return true;
}

void gatewayReal(benchmark::State& state)
{
    DispSvr svr;
    svr.ExchPath = std::filesystem::path(directory.path).u16string();
    svr.ClientId = 1;
    svr.ClientTimeout = 5;
    for (auto _ : state) {
        answerAt((directory.path + "/ZSQL_001.CL2").c_str());
        std::u16string answer;
        if (svr.CallSql(u"WL", u"123456", u"01", answer) || answer.empty())
            state.SkipWithError("no answer");
    }
}

void gatewayBare(benchmark::State& state)
{
    const std::string request = directory.path + "/ZSQL_001.CL1", answer = directory.path + "/ZSQL_001.CL2";
    for (auto _ : state) {
        answerAt(answer.c_str());
        bareWrite(request.c_str(), "WL,123456,01\r\n");
        // Whether it is there, and whole; then for its text.
        if (!bareRead(answer.c_str(), Read::firstPiece) || !bareRead(answer.c_str(), Read::firstPiece))
            state.SkipWithError("no answer");
        unlink(answer.c_str());
    }
}

const std::string hostAnswer = directory.path + "/Z7000_01.CL2";

void hostReal(benchmark::State& state)
{
    DispSvr svr;
    svr.SettingsDir = std::filesystem::path(directory.path).u16string();
    AutomationSetPendingEvents([](void*) { answerAt(hostAnswer.c_str()); }, nullptr);
    for (auto _ : state) {
        std::u16string answer;
        if (svr.Call7000(u"WL,123456,01", answer) || answer.empty())
            state.SkipWithError("no answer");
    }
    AutomationSetPendingEvents(nullptr, nullptr);
}

void hostBare(benchmark::State& state)
{
    const std::string request = directory.path + "/Z7000_01.CL1", parameters = directory.path + "/CLIENT.PAR";
    for (auto _ : state) {
        if (!bareRead(parameters.c_str(), Read::untilEnd))
            state.SkipWithError("no parameters");
        unlink(hostAnswer.c_str());
        bareWrite(request.c_str(), "WL,01123456\r\n");
        while (!bareRead(hostAnswer.c_str(), Read::firstPiece))
            answerAt(hostAnswer.c_str());
    }
}

} // namespace

int main(int argc, char** argv)
{
    benchmark::RegisterBenchmark("SQL, one copy exchanged/real", gatewayReal);
    benchmark::RegisterBenchmark("SQL, one copy exchanged/bare", gatewayBare);
    benchmark::RegisterBenchmark("7000, one copy exchanged/real", hostReal);
    benchmark::RegisterBenchmark("7000, one copy exchanged/bare", hostBare);
    return bench::run(argc, argv, bench::manyShort);
}
