// What a target is fed, and how it says that something is wrong.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>
#include <string_view>

#include "platform/runtime/RuntimeError.h"
#include "platform/runtime/Text.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace vqloan::test {

class Input
{
public:
    Input(const std::uint8_t* data, std::size_t size) : rest_(reinterpret_cast<const char*>(data), size) {}

    // Up to the next byte of that value, or all.
    std::string_view piece(char end)
    {
        const auto at = rest_.find(end);
        const std::string_view taken = rest_.substr(0, at);
        rest_.remove_prefix(at == rest_.npos ? rest_.size() : at + 1);
        return taken;
    }
    unsigned byte()
    {
        const unsigned value = rest_.empty() ? 0 : static_cast<unsigned char>(rest_.front());
        rest_.remove_prefix(rest_.empty() ? 0 : 1);
        return value;
    }
    std::string_view rest() const { return rest_; }

private:
    std::string_view rest_;
};

inline void expect(bool holds, std::string_view what, std::u16string_view text = {})
{
    if (holds)
        return;
    std::cerr << what << ": " << text::toUtf8(text) << '\n';
    std::abort();
}

// Runs the step; a failure must be one of those numbers.
template <class Step> void mayFail(std::initializer_list<std::int32_t> numbers, Step step)
{
    try {
        step();
    } catch (const RuntimeError& error) {
        for (const std::int32_t number : numbers)
            if (error.number == number)
                return;
        expect(false, "failure " + std::to_string(error.number), error.description);
    }
}

} // namespace vqloan::test
