// The numbered messages of [MESSAGGI]: which situation each reports. The texts are the site's own.
#pragma once

#include <cstddef>
#include <string_view>

#include "site/Kind.h"

namespace vqloan::site {

// By its number.
enum class Message
{
    noStatusText = 1,
    available,
    overdue,
    onLoan,
    noShelfMark,
    readingRoom,
    reminded,
    noMovementsKept,
    noAnswer,
    notHeld,
    outOfService
};

struct MessageRow
{
    std::u16string_view code; // the number in digits
    Kind reporter;            // the kind of back end that reports it
    std::u16string_view situation;
};

// In the order of their numbers, from 1.
inline constexpr MessageRow messages[] = {
    {u"1", Kind::database, u"in front: a special status without a text of its own"},
    {u"2", Kind::database, u"available"},
    {u"3", Kind::database, u"on loan, overdue"},
    {u"4", Kind::database, u"on loan (the date follows)"},
    {u"5", Kind::database, u"no shelf mark"},
    {u"6", Kind::database, u"shelf mark \"SC \""},
    {u"7", Kind::database, u"on loan, reminders sent"},
    {u"8", Kind::database, u"library without circulation"},
    {u"9", Kind::gateway, u"no answer from the gateway in time"},
    {u"10", Kind::database, u"not held by the library"},
    {u"11", Kind::database, u"out of service"},
};

constexpr std::u16string_view codeOf(Message message) noexcept
{
    return messages[static_cast<std::size_t>(message) - 1].code;
}

} // namespace vqloan::site
