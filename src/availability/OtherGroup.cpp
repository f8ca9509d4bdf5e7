#include "availability/OtherGroup.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "site/Texts.h"

namespace vqloan {

namespace {

using site::lineEnd;

constexpr std::size_t lastPosition = 32767;

} // namespace

OtherGroup::Place OtherGroup::search(std::u16string_view key, Int16 n) const
{
    if (ascending_ && !near_.empty() && key >= near_.back().key() && n > std::ssize(near_)) {
        // The place is behind all lines. Walking there would go as far as the last line's CR LF, or behind it
        // where a further line is looked for, so that position alone is checked.
        const bool looksFurther = n > std::ssize(near_) + 1;
        requireInt16(looksFurther ? nearSize_ + 1 : nearSize_ - 1);
        return near_.end();
    }
    Int16 k = 1;
    Int16 start = 1; // where line k begins
    for (auto line = near_.begin(); k < n && line != near_.end(); ++line) {
        const Int16 end = Int16(start + std::ssize(line->text)); // where its CR LF stands
        if (key < line->key())
            return line;
        if (++k < n) // a further line is looked for, whether or not the group has one
            start = Int16(end + std::ssize(lineEnd));
    }
    return near_.end();
}

void OtherGroup::insert(Place place, std::u16string line)
{
    const std::size_t size = line.size() + lineEnd.size();
    const std::size_t firstField = std::min(line.find(site::tab), line.size());
    const auto inserted = near_.insert(place, Line{std::move(line), firstField});
    ascending_ = ascending_ && (inserted == near_.begin() || std::prev(inserted)->key() <= inserted->key()) &&
                 (place == near_.end() || inserted->key() <= place->key());
    nearSize_ += size;
    size_ += size;
    for (;;) {
        Line& last = near_.back();
        const std::size_t lastSize = last.text.size() + lineEnd.size();
        if (nearSize_ - lastSize < lastPosition) // it begins within reach
            break;
        far_.push_back(std::move(last.text));
        near_.pop_back();
        nearSize_ -= lastSize;
    }
}

void OtherGroup::append(std::u16string_view line)
{
    unordered_.append(line).append(lineEnd);
    size_ += line.size() + lineEnd.size();
}

void OtherGroup::appendTo(std::u16string& text) const
{
    for (const Line& line : near_)
        text.append(line.text).append(lineEnd);
    for (auto line = far_.rbegin(); line != far_.rend(); ++line)
        text.append(*line).append(lineEnd);
    text.append(unordered_);
}

} // namespace vqloan
