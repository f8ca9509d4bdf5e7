// The answer lines of the other libraries, where each new line is placed.
#pragma once

#include <list>
#include <string>
#include <string_view>
#include <vector>

#include "platform/runtime/Int16.h"

namespace vqloan {

// A text of lines, each ended by CR LF, that is put together only at the end. Positions in it are 16-bit
// character positions: searching fails with RuntimeError 6 exactly where it would read, or step to, a
// character beyond 32,767. Lines that begin beyond that position can be neither read nor passed again, so
// they are kept apart, and the lines in reach are so few that walking them costs the same however long the
// request is.
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

    // In front of the first of the lines 1 to n - 1 whose first field is greater than `key` by character
    // code; behind all when there is none. `n` is the number of the request line, which counts the
    // own-library lines too.
    Place search(std::u16string_view key, Int16 n) const;
    // At a place that was searched for.
    void insert(Place place, std::u16string line);
    // Behind everything, for back ends whose lines are not ordered.
    void append(std::u16string_view line);

    std::size_t size() const noexcept { return size_; }
    void appendTo(std::u16string& text) const;

private:
    std::list<Line> near_; // begin at a position up to 32,767
    std::size_t nearSize_ = 0;
    bool ascending_ = true;           // by their keys; a failed line keeps its place and has another key
    std::vector<std::u16string> far_; // begin further on, the last one first
    std::u16string unordered_;
    std::size_t size_ = 0; // of the whole text
};

} // namespace vqloan
