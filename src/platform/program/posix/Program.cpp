#include "platform/program/Program.h"

#include <dlfcn.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <stdexcept>

namespace vqloan::program {

std::filesystem::path file()
{
    return std::filesystem::read_symlink("/proc/self/exe");
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
