// What a step of a test fails with.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

#include "platform/runtime/RuntimeError.h"
#include "platform/runtime/Text.h"

namespace vqloan::test {

// A failure that was thrown, or recorded for the client; number 0 when there is none.
struct Failed
{
    std::int32_t number = 0;
    std::string source, description;
    std::int32_t systemError = 0;
    double seconds = 0; // that the step took

    bool says(const std::string& text) const { return description.find(text) != std::string::npos; }
};

inline Failed failureOf(const std::function<void()>& step)
{
    Failed failed;
    const auto start = std::chrono::steady_clock::now();
    try {
        step();
    } catch (const RuntimeError& error) {
        failed = {error.number, text::toUtf8(error.source), text::toUtf8(error.description),
                  error.lastDllError};
    }
    failed.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return failed;
}

} // namespace vqloan::test
