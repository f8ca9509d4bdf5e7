// What the component records of a failure.
#pragma once

#include <cstdint>
#include <string>

namespace vqloan::client {

struct Failure
{
    std::int32_t number = 0;
    std::string source, description;
    std::int32_t systemError = 0;

    // On one line, for a person.
    std::string text() const;
};

} // namespace vqloan::client
