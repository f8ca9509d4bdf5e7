#include "platform/program/Input.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace vqloan::program {

Input::Input(const std::filesystem::path& file)
{
    if (file.empty())
        return;
    descriptor_ = open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
    if (descriptor_ < 0)
        throw std::system_error(errno, std::generic_category());
}

Input::~Input()
{
    if (descriptor_ != STDIN_FILENO)
        close(descriptor_);
}

std::size_t Input::read(char* buffer, std::size_t size)
{
    for (;;) {
        const ssize_t count = ::read(descriptor_, buffer, size);
        if (count >= 0)
            return static_cast<std::size_t>(count);
        if (errno != EINTR)
            throw std::system_error(errno, std::generic_category());
    }
}

std::optional<std::uint64_t> Input::size() const
{
    struct stat status;
    if (fstat(descriptor_, &status) != 0 || !S_ISREG(status.st_mode))
        return std::nullopt;
    return static_cast<std::uint64_t>(status.st_size);
}

bool Input::isTerminal() const
{
    return isatty(descriptor_) != 0;
}

} // namespace vqloan::program
