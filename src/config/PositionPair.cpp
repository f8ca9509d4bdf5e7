#include "config/PositionPair.h"

#include "platform/runtime/Numbers.h"
#include "platform/runtime/RuntimeError.h"

namespace vqloan::settings {

namespace {

std::int16_t element(std::u16string_view text)
{
    return static_cast<std::int16_t>(int{numbers::toInteger(numbers::leadingNumber(text))});
}

} // namespace

void readPositionPair(std::u16string_view value, WhenEmpty whenEmpty, std::int16_t& start,
                      std::int16_t& length)
{
    if (value.empty() && whenEmpty == WhenEmpty::fail)
        throw RuntimeError(Failure::SubscriptOutOfRange);
    if (!value.empty()) {
        const auto comma = value.find(u',');
        start = element(value.substr(0, comma));
        if (comma != std::u16string_view::npos) {
            const std::u16string_view rest = value.substr(comma + 1);
            length = element(rest.substr(0, rest.find(u',')));
        }
    }
    if (start == 0)
        start = 1;
}

} // namespace vqloan::settings
