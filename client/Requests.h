// Request lines as they come in.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Commands.h"
#include "platform/program/Input.h"

namespace vqloan::client {

// Library code, shelf mark, inventory number, note, with TABs between.
struct Request
{
    std::size_t number = 0; // of its line in the input, from 1
    std::u16string line;
    std::string refusal; // why it is not asked; empty: it is
};

class Requests
{
public:
    // The one copy, the file or the standard input that the options name. Throws std::runtime_error for both
    // a copy and a file, and for a file that cannot be opened.
    explicit Requests(const AskOptions& options);
    // A text that is there as a whole.
    explicit Requests(std::string text);

    // At least one and at most `most` of those that come next, without waiting for more than one; none at the
    // end. Empty lines are passed over. A line without a TAB, one that is not UTF-8 and one that is longer
    // than 1 MiB is refused. Throws std::runtime_error when the input cannot be read.
    std::vector<Request> next(std::size_t most);

    // How much of the input has been taken, from 0 to 1; nothing where nobody knows how much there is.
    std::optional<double> share() const;

private:
    bool fill();
    std::optional<Request> takeLine();

    std::optional<std::u16string> single_;
    std::optional<program::Input> input_;
    std::string name_;
    std::string buffer_; // from at_ on not taken yet
    std::size_t at_ = 0;
    bool ended_ = false, tooLong_ = false;
    std::size_t number_ = 0;
    std::uint64_t taken_ = 0;
    std::optional<std::uint64_t> size_;
};

} // namespace vqloan::client
