#include "platform/components/FinishedFile.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <optional>

#include "platform/runtime/OsFile.h"
#include "platform/runtime/RuntimeError.h"
#include "platform/runtime/TextFiles.h"

namespace vqloan::standins {
namespace {

using namespace std::chrono;

// How long a writer may take over a line.
constexpr nanoseconds moment = 100ms;

// A time in the future comes from another machine's clock and tells nothing: waiting for it could take hours.
bool isStillWritten(const os::FileState& state)
{
    const nanoseconds age = system_clock::now().time_since_epoch() - nanoseconds(state.modified);
    return age >= 0ns && age <= moment;
}

bool firstLineHasItsEnd(os::File& file)
{
    std::array<char, 4 * 1024> piece;
    std::size_t seen = 0;
    while (seen <= files::longestSharedLine) {
        const std::size_t count = file.read(piece.data(), piece.size());
        if (count == 0)
            return false;
        if (std::find(piece.data(), piece.data() + count, '\r') != piece.data() + count)
            return true;
        seen += count;
    }
    return true; // too long a line is a failure for its reader to find
}

bool isWholeFile(std::u16string_view path)
{
    std::optional<os::File> file = os::File::tryOpen(path);
    return file && (firstLineHasItsEnd(*file) || !isStillWritten(file->state()));
}

} // namespace

bool isFinishedFile(std::u16string_view path)
{
    try {
        // Whether it is held is only asked of a whole one: the question itself can keep its writer out.
        return !files::isSpent(path) && isWholeFile(path) && !os::isHeld(path);
    } catch (const RuntimeError&) {
        return false;
    }
}

} // namespace vqloan::standins
