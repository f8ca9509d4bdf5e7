#include "Requests.h"

#include <algorithm>
#include <iostream>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "platform/program/Paths.h"
#include "platform/runtime/Text.h"

namespace vqloan::client {

namespace {

constexpr std::size_t longestLine = 1024 * 1024;
constexpr std::size_t piece = 256 * 1024;
constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
constexpr const char* expected = "library code, shelf mark, inventory number and note, with TABs between";

} // namespace

Requests::Requests(const AskOptions& options)
{
    const bool isSingle = !(options.library + options.shelf + options.inventory + options.note).empty();
    if (isSingle && !options.file.empty())
        throw std::runtime_error("either a file or one copy can be asked about, not both");
    if (isSingle) {
        for (const std::string& value : {options.library, options.shelf, options.inventory, options.note})
            if (value.find_first_of("\t\r\n") != value.npos || !text::isUtf8(value))
                throw std::runtime_error("a copy is asked about in UTF-8, without TABs and line ends");
        single_ = text::fromUtf8(options.library + '\t' + options.shelf + '\t' + options.inventory + '\t' +
                                 options.note);
        return;
    }
    const bool standardInput = options.file.empty() || options.file == "-";
    name_ = standardInput ? "the standard input" : options.file;
    try {
        input_.emplace(standardInput ? std::filesystem::path() : program::pathOf(options.file));
    } catch (const std::system_error& error) {
        throw std::runtime_error("cannot read " + name_ + ": " + error.code().message());
    }
    size_ = input_->size();
    if (input_->isTerminal())
        std::cerr << "vqloan: type request lines (" << expected << "); the end of input ends it\n";
}

Requests::Requests(std::string text) : buffer_(std::move(text)), ended_(true)
{
    if (buffer_.starts_with(byteOrderMark))
        at_ = byteOrderMark.size();
}

std::vector<Request> Requests::next(std::size_t most)
{
    std::vector<Request> requests;
    if (single_) {
        requests.push_back({1, *std::exchange(single_, std::nullopt), {}});
        ended_ = true;
        return requests;
    }
    while (requests.size() < most) {
        if (auto request = takeLine())
            requests.push_back(*std::move(request));
        else if (ended_ || !requests.empty() || !fill())
            break;
    }
    return requests;
}

// False when there is no more.
bool Requests::fill()
{
    buffer_.erase(0, at_);
    at_ = 0;
    const std::size_t before = buffer_.size();
    try {
        buffer_.resize(before + piece);
        buffer_.resize(before + input_->read(buffer_.data() + before, piece));
    } catch (const std::system_error& error) {
        throw std::runtime_error("cannot read " + name_ + ": " + error.code().message());
    }
    ended_ = buffer_.size() == before;
    taken_ += buffer_.size() - before;
    if (number_ == 0 && buffer_.starts_with(byteOrderMark))
        at_ = byteOrderMark.size();
    return !ended_ || tooLong_ || at_ < buffer_.size();
}

// Nothing when no whole line is there. At the end of the input what is left is a line.
std::optional<Request> Requests::takeLine()
{
    for (;;) {
        const auto end = std::string_view(buffer_).find('\n', at_);
        if (end == buffer_.npos && (!ended_ || at_ == buffer_.size())) {
            if (ended_ && std::exchange(tooLong_, false))
                return Request{++number_, {}, "longer than 1 MiB"};
            if (buffer_.size() - at_ <= longestLine)
                return std::nullopt;
            tooLong_ = true; // its end is looked for, and the rest forgotten
            at_ = buffer_.size();
            return std::nullopt;
        }
        std::string_view line = std::string_view(buffer_).substr(at_, std::min(end, buffer_.size()) - at_);
        at_ = std::min(end, buffer_.size() - 1) + 1;
        ++number_;
        if (line.ends_with('\r'))
            line.remove_suffix(1);
        if (std::exchange(tooLong_, false))
            return Request{number_, {}, "longer than 1 MiB"};
        if (line.empty())
            continue;
        if (!text::isUtf8(line))
            return Request{number_, {}, "not UTF-8"};
        Request request{number_, text::fromUtf8(line), {}};
        if (line.find('\t') == line.npos)
            request.refusal = std::string("no request line: expected are ") + expected;
        return request;
    }
}

std::optional<double> Requests::share() const
{
    if (!size_ || *size_ == 0)
        return std::nullopt;
    return static_cast<double>(taken_ - (buffer_.size() - at_)) / static_cast<double>(*size_);
}

} // namespace vqloan::client
