// One answer line taken apart.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "site/Kind.h"

namespace vqloan::client {

using site::Kind;

enum class Outcome
{
    answer,
    skipped,
    failure
};

struct Answer
{
    Outcome outcome = Outcome::failure;
    std::u16string library;             // as the answer names it
    std::u16string availability;        // what to show the reader; for a failure, its message
    std::vector<std::u16string> fields; // the line at every TAB
};

// `line` without its CR LF. A line without an availability text is a failure too: the back end did not
// answer.
Answer takeApart(Kind kind, std::u16string_view line);

std::vector<std::u16string> split(std::u16string_view text, std::u16string_view separator);

} // namespace vqloan::client
