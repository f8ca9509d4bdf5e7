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
    std::string_view status;  // for programs; none for a text that only stands in front of others
    std::u16string_view situation;
};

// In the order of their numbers, from 1.
inline constexpr MessageRow messages[] = {
    {u"1", Kind::database, "", u"in front: a special status without a text of its own"},
    {u"2", Kind::database, "available", u"available"},
    {u"3", Kind::database, "overdue", u"on loan, overdue"},
    {u"4", Kind::database, "on_loan", u"on loan (the date follows)"},
    {u"5", Kind::database, "no_shelf_mark", u"no shelf mark"},
    {u"6", Kind::database, "reading_room", u"shelf mark \"SC \""},
    {u"7", Kind::database, "reminded", u"on loan, reminders sent"},
    {u"8", Kind::database, "no_circulation", u"library without circulation"},
    {u"9", Kind::gateway, "timeout", u"no answer from the gateway in time"},
    {u"10", Kind::database, "not_held", u"not held by the library"},
    {u"11", Kind::database, "out_of_service", u"out of service"},
};

// The situations in the order in which they win over each other; between outOfService and readingRoom stands
// the text of a special status, which the database has.
inline constexpr Message precedence[] = {
    Message::noMovementsKept, Message::notHeld,     Message::outOfService,
    Message::readingRoom,     Message::noShelfMark, Message::reminded,
    Message::overdue,         Message::onLoan,      Message::available};

// What programs are told where no message says it.
namespace status {
inline constexpr std::string_view specialStatus =
    "special_status";                                  // a text of the database's for such copies
inline constexpr std::string_view skipped = "skipped"; // not asked about
inline constexpr std::string_view unknown = "unknown"; // a text that claims nothing
inline constexpr std::string_view failure = "failure";
} // namespace status

constexpr std::string_view statusOf(Message message) noexcept
{
    return messages[static_cast<std::size_t>(message) - 1].status;
}

constexpr std::u16string_view codeOf(Message message) noexcept
{
    return messages[static_cast<std::size_t>(message) - 1].code;
}

} // namespace vqloan::site
