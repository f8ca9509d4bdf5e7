// One answer line taken apart.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Failure.h"
#include "site/Kind.h"

namespace vqloan::client {

using site::Kind;

enum class Outcome
{
    answer,
    skipped, // not asked about: not listed, or of the skipped group
    timeout, // the back end did not answer in time
    failure
};

struct Answer
{
    Outcome outcome = Outcome::failure;
    std::u16string library;             // as the answer names it
    std::u16string availability;        // what to show the reader; for a failure, its message
    std::vector<std::u16string> fields; // the line at every TAB
    std::string_view status;            // for programs (site/Messages.h); set by Situations
    std::optional<std::string> date;    // of the loan, YYYY-MM-DD; set by Situations
    std::optional<Failure> failure;     // what the component recorded of it
};

// `line` without its CR LF. A line without an availability text is a failure too: the back end did not
// answer. Tells no time-out from an answer, since both are texts of the site's: Situations does.
Answer takeApart(Kind kind, std::u16string_view line);

// "answer", "skipped", "timeout" or "failure".
std::string_view nameOf(Outcome outcome) noexcept;

std::vector<std::u16string> split(std::u16string_view text, std::u16string_view separator);

} // namespace vqloan::client
