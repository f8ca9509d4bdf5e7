// Whether an answer that somebody else writes is there to be read.
#pragma once

#include <string_view>

namespace vqloan::standins {

// True for a regular file that can be read and is finished: its first line has its end, or it was last
// written a moment ago and not just now; this thread has not failed to delete it since; and nobody keeps it
// from being deleted. A counterpart that makes the file first and fills it later is so waited for, and one
// that never ends its lines is understood. Never fails: what cannot be read is not there.
bool isFinishedFile(std::u16string_view path);

} // namespace vqloan::standins
