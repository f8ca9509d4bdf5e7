#include "platform/program/Input.h"

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

#include <cerrno>
#include <system_error>

namespace vqloan::program {

Input::Input(const std::filesystem::path& file)
{
    if (file.empty()) {
        _setmode(descriptor_, _O_BINARY);
        return;
    }
    descriptor_ = _wopen(file.c_str(), _O_RDONLY | _O_BINARY | _O_NOINHERIT);
    if (descriptor_ < 0)
        throw std::system_error(errno, std::generic_category());
}

Input::~Input()
{
    if (descriptor_ != 0)
        _close(descriptor_);
}

std::size_t Input::read(char* buffer, std::size_t size)
{
    const int count = _read(descriptor_, buffer, static_cast<unsigned>(size));
    if (count < 0)
        throw std::system_error(errno, std::generic_category());
    return static_cast<std::size_t>(count);
}

std::optional<std::uint64_t> Input::size() const
{
    struct _stat64 status;
    if (_fstat64(descriptor_, &status) != 0 || (status.st_mode & _S_IFREG) == 0)
        return std::nullopt;
    return static_cast<std::uint64_t>(status.st_size);
}

bool Input::isTerminal() const
{
    return _isatty(descriptor_) != 0;
}

} // namespace vqloan::program
