// What each situation says of the services that a library gives with a copy, as DAIA tells it. A site may say
// otherwise: the same table in a file.
#pragma once

#include <cstddef>
#include <string_view>

#include "site/Messages.h"

namespace vqloan::site {

// In the house; to take home; through another library.
inline constexpr std::string_view services[] = {"presentation", "loan", "interloan"};
inline constexpr std::size_t serviceCount = 3;

enum class Can
{
    unsaid, // nothing is claimed
    yes,
    ask,   // yes, after approval
    later, // no, but the copy comes back at some time
    kept,  // no: something keeps it in the house, and the answer's text says what
    no     // and nobody knows whether the copy comes back
};

struct CanRow
{
    std::string_view word; // in a site's table
    Can can;
};

inline constexpr CanRow canWords[] = {{"-", Can::unsaid},    {"yes", Can::yes},   {"ask", Can::ask},
                                      {"later", Can::later}, {"kept", Can::kept}, {"no", Can::no}};

struct SituationRow
{
    std::string_view status;
    Can says[serviceCount];
};

// Of a copy that is not held there is nothing to say. A loan's date is the day when it began, so that no day
// can be told on which a copy comes back. What claims nothing is a text that nobody but a person understands,
// or no answer about the copy at all.
inline constexpr SituationRow situations[] = {
    {statusOf(Message::available), {Can::yes, Can::yes, Can::yes}},
    {statusOf(Message::onLoan), {Can::later, Can::later, Can::later}},
    {statusOf(Message::overdue), {Can::later, Can::later, Can::later}},
    {statusOf(Message::reminded), {Can::no, Can::no, Can::no}},
    {statusOf(Message::readingRoom), {Can::yes, Can::kept, Can::kept}},
    {statusOf(Message::noShelfMark), {Can::ask, Can::ask, Can::ask}},
    {status::specialStatus, {Can::kept, Can::kept, Can::kept}},
    {statusOf(Message::outOfService), {Can::no, Can::no, Can::no}},
    {statusOf(Message::noMovementsKept), {Can::unsaid, Can::unsaid, Can::unsaid}},
    {status::skipped, {Can::unsaid, Can::unsaid, Can::unsaid}},
    {status::unknown, {Can::unsaid, Can::unsaid, Can::unsaid}},
};

} // namespace vqloan::site
