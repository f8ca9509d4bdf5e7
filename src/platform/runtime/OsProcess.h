// What the operating system tells of the process; implemented once per system, in posix/ and windows/.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace vqloan::os {

// The environment variable of exactly that name. None for a name that no variable can have.
std::optional<std::u16string> environmentVariable(const std::u16string& name);

// The loaded file (program or shared library) that holds this code, absolute even when it was loaded by a
// relative path and the working directory has changed since.
std::u16string loadedFile();

// Today's date in the process's local time zone; that it has changed is noticed within a second.
std::chrono::year_month_day localDate();

// Milliseconds on a clock that never goes back.
std::int64_t milliseconds() noexcept;

// The text for an error code of the system.
std::u16string errorMessage(std::int32_t code);

} // namespace vqloan::os
