// Recording of failures. The last catch clause of every operation that records calls `recordFailure`.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "external/SysTools.h"

namespace vqloan {

// Bits of RecordError's Flags.
namespace recording {
inline constexpr std::int32_t gather = 0;        // take the details of the pending failure
inline constexpr std::int32_t addSystemText = 2; // add the system's text for LastDllError to the description
inline constexpr std::int32_t asGiven = 4;       // gather nothing: pass the arguments on as they are
inline constexpr std::int32_t asGivenToo = 8;    // the same
} // namespace recording

// Gathers the thread's pending failure, clears it, and has SysTools store it with the details that are given
// (a missing Variant is one that is not). A given detail takes the place of the gathered one; only a given
// description keeps it, in parentheses behind itself. A step that fails is left out. Never fails.
void RecordError(SysTools::FailureDetails given, std::int32_t Flags,
                 const Variant& argument8 = Variant::missing(), std::int32_t argument9 = 0) noexcept;

// Where a failure happened, as it is recorded: "VQLoan.SvrODBC.OpenDatabase, 0" for ".OpenDatabase, ", and
// "SvrODBC.VisNre" for ".VisNre". Each operation has one of the two forms.
std::u16string longSource(std::u16string_view procedure);
std::u16string shortSource(std::u16string_view procedure);

// For a catch (...) clause: makes the caught failure the pending one and records it under the source that
// `form(procedure)` builds. Never fails.
void recordFailure(std::u16string (*form)(std::u16string_view), std::u16string_view procedure) noexcept;

// For a failure that has been recorded already by what failed: records only where it was noticed. Never
// fails.
void recordSourceOnly(std::u16string (*form)(std::u16string_view), std::u16string_view procedure) noexcept;

} // namespace vqloan
