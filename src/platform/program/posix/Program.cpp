#include "platform/program/Program.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <deque>
#include <stdexcept>
#include <string>
#include <system_error>

namespace vqloan::program {

namespace {

// Lives as long as a signal may come; replaced as a whole. What looks at it may call little more than the
// system itself.
std::atomic<const std::vector<std::string>*> toRemove = nullptr;

void removeAndEnd(int number)
{
    for (const std::string& file : *toRemove.load())
        unlink(file.c_str());
    signal(number, SIG_DFL);
    raise(number); // takes effect when this returns
}

} // namespace

const char* const libraryExtension = ".so";

std::filesystem::path file()
{
    return std::filesystem::read_symlink("/proc/self/exe");
}

void removeWhenEnded(const std::vector<std::filesystem::path>& files)
{
    // None is ever freed: a signal may have come while the former one was in force, or come at the very end.
    static auto& lists = *new std::deque<std::vector<std::string>>;
    toRemove = &lists.emplace_back(files.begin(), files.end());
    struct sigaction action = {};
    action.sa_handler = removeAndEnd;
    sigfillset(&action.sa_mask); // a second one waits until all is removed
    for (const int number : {SIGHUP, SIGINT, SIGPIPE, SIGTERM}) {
        struct sigaction before = {};
        sigaction(number, &action, &before);
        if (before.sa_handler == SIG_IGN) // as under nohup
            sigaction(number, &before, nullptr);
    }
}

std::vector<std::string> commandLine(int argc, char** argv)
{
    return {argv, argv + argc};
}

// What is opened next would take the place of a stream that is closed, and get what is written to it. So it
// goes where its every use fails.
void prepareStreams()
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (fcntl(stream, F_GETFD) < 0)
            static_cast<void>(open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY));
}

void endNow(int status) noexcept
{
    std::_Exit(status);
}

std::filesystem::path makePrivateDirectory(const std::filesystem::path& parent, const std::string& prefix)
{
    std::string path = (parent / (prefix + "XXXXXX")).string();
    if (!mkdtemp(path.data()))
        throw std::system_error(errno, std::generic_category(), parent.string());
    return path;
}

std::error_code rename(const std::filesystem::path& from, const std::filesystem::path& to) noexcept
{
    std::error_code failed;
    std::filesystem::rename(from, to, failed);
    return failed;
}

bool isInUse(std::error_code) noexcept
{
    return false;
}

int terminalColumns(Stream stream) noexcept
{
    const int descriptor = static_cast<int>(stream);
    if (!isatty(descriptor))
        return 0;
    winsize size{};
    // A terminal that does not know its size says 0.
    return ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

Library::Library(const std::filesystem::path& file)
    : file_(file), handle_(dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL))
{
    if (!handle_)
        throw std::runtime_error(dlerror());
}

Library::~Library()
{
    dlclose(handle_);
}

void* Library::address(const char* name) const
{
    if (void* const found = dlsym(handle_, name))
        return found;
    throw std::runtime_error(file_.string() + " has no entry point " + name);
}

} // namespace vqloan::program
