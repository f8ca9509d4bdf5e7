#include "platform/components/IniFile.h"

#include <array>
#include <chrono>

#include "platform/runtime/RuntimeError.h"

namespace vqloan::standins {
namespace {

// Whether a later change is sure to show as another state: not within one tick of the file system's clock, in
// which two changes get the same time. A time in the future comes from another machine's clock and counts by
// its distance.
bool changesWillShow(const os::FileState& state)
{
    using namespace std::chrono;
    constexpr nanoseconds second = 1s;
    const bool wholeSeconds = state.changed % second.count() == 0;
    const nanoseconds age = system_clock::now().time_since_epoch() - nanoseconds(state.changed);
    return abs(age) > (wholeSeconds ? nanoseconds(2s) : nanoseconds(50ms));
}

// None where there is no such file.
std::optional<os::File> open(const std::u16string& path)
{
    try {
        return std::optional<os::File>(std::in_place, path, os::File::Mode::Read, os::Place::own);
    } catch (const RuntimeError& error) {
        if (error.number == static_cast<std::int32_t>(Failure::FileNotFound) ||
            error.number == static_cast<std::int32_t>(Failure::PathNotFound))
            return std::nullopt;
        throw;
    }
}

std::string readAll(os::File& file)
{
    std::string contents;
    std::array<char, 32 * 1024> piece;
    while (const std::size_t count = file.read(piece.data(), piece.size()))
        contents.append(piece.data(), count);
    return contents;
}

} // namespace

void IniFile::SetFile(const std::u16string& path)
{
    path_ = path;
    loaded_.reset();
    settings_ = {};
}

const std::u16string* IniFile::find(std::u16string_view section, std::u16string_view key)
{
    refresh();
    return settings_.find(section, key);
}

void IniFile::refresh()
{
    const auto now = os::stateOf(path_);
    if (now && loaded_ == now)
        return;
    loaded_.reset();
    settings_ = {};
    if (now)
        load();
}

void IniFile::load()
{
    std::optional<os::File> file = open(path_);
    if (!file)
        return;
    // Asked before reading: a change while it is being read leads to another reading.
    const os::FileState state = file->state();
    const bool lasting = changesWillShow(state);
    settings_ = Settings(readAll(*file));
    if (lasting)
        loaded_ = state;
}

} // namespace vqloan::standins
