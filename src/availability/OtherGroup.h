// The answer lines of the other libraries, where each new line is placed.
#pragma once

#include <list>
#include <string>
#include <string_view>
#include <vector>

#include "platform/runtime/Int16.h"

namespace vqloan {

// Stands for a text of lines, each ended by CR LF, that is searched by 16-bit positions: searching fails with
// RuntimeError 6 exactly where it would read, or step to, a character of that text beyond 32,767. The text
// itself is put together only at the end. Lines that begin beyond 32,767 can never be reached again, so they
// are kept apart; the others are so few that walking them costs the same however long the request is.
class OtherGroup
{
    struct Line
    {
        std::u16string text; // without its CR LF
        std::size_t firstField;

        std::u16string_view key() const noexcept { return std::u16string_view(text).substr(0, firstField); }
    };

public:
    using Place = std::list<Line>::const_iterator;

    // The place in front of the first line whose first field is greater than `key` by character code, or
    // behind all lines. Only the first n - 1 lines are looked at. `n` is the number of the request line that
    // is placed; the lines of the own library count too.
    Place search(std::u16string_view key, Int16 n) const;
    // The place is one that `search` gave.
    void insert(Place place, std::u16string line);
    // Puts a line behind all others, for back ends whose lines are not ordered.
    void append(std::u16string_view line);

    std::size_t size() const noexcept { return size_; }
    void appendTo(std::u16string& text) const;

private:
    std::list<Line> near_; // begin at a position up to 32,767
    std::size_t nearSize_ = 0;
    bool ascending_ = true; // by their keys; a failed line has another key than the one it was placed by
    std::vector<std::u16string> far_; // begin further on, the last one first
    std::u16string unordered_;
    std::size_t size_ = 0; // of the whole text
};

} // namespace vqloan
