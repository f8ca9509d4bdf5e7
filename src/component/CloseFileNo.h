// Closing a numbered text file on the way out of an operation.
#pragma once

#include <cstdint>

namespace vqloan {

// Closes a number greater than 0 and sets it to 0; leaves any other alone. Never fails.
void CloseFileNo(std::int32_t& fileNo) noexcept;

} // namespace vqloan
