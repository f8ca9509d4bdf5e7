// SvrDisp.ini: every section, key and default, and what a value must look like. To add a setting, add its row
// and use it: OpenDatabase reads it by its row, `check` shows and judges it, and a test looks for it in
// docs/administration.md and examples/site.
#pragma once

#include <string_view>

#include "site/Kind.h"

namespace vqloan::site {

inline constexpr std::u16string_view settingsFile = u"SvrDisp.ini";

// "§NAME§" in a value stands for the environment variable NAME.
inline constexpr char16_t placeholderSign = u'\u00A7';

enum class Form
{
    text,
    number,      // 32 bits, read under the user's locale
    shortNumber, // the same in 16 bits
    pair,        // "start" or "start,length", from 1; empty only where that is the default
    account,     // a text, or one placeholder as a whole
    secret,      // the same, never shown
    connection   // placeholders anywhere; passwords in it are never shown
};

struct Setting
{
    std::u16string_view section, key;
    std::u16string_view byDefault; // of a number: its digits
    Form form;
    Kind reader; // the kind that reads it; none: each kind that reads the file

    constexpr bool isReadBy(Kind kind) const noexcept { return reader == Kind::none || reader == kind; }
};

inline constexpr Setting settings[] = {
    {u"SERVER", u"CONNECT", u"", Form::connection, Kind::database},
    {u"SERVER", u"TIMEOUT", u"0", Form::number, Kind::database},
    {u"SERVER", u"COMMTIMEOUT", u"0", Form::number, Kind::database},
    {u"SERVER", u"CURSOR", u"0", Form::number, Kind::database},
    {u"SERVER", u"OPTIONS", u"-1", Form::number, Kind::database},
    {u"SERVER", u"USERNAME", u"", Form::account, Kind::database},
    {u"SERVER", u"PASSWORD", u"", Form::secret, Kind::database},
    {u"SERVER", u"INVENTARIO", u"3", Form::pair, Kind::database},
    {u"SERVER", u"BIBLIOTECA", u"", Form::pair, Kind::database},
    {u"CONFIG", u"PATH", u"", Form::text, Kind::gateway},
    {u"CLIENT", u"ID", u"0", Form::number, Kind::gateway},
    {u"CLIENT", u"TIMEOUT", u"5", Form::number, Kind::gateway},
    {u"MESSAGGI", u"NUMMSG", u"1", Form::shortNumber, Kind::none},
};

// The row of that section and key. A name that has no row does not compile.
consteval const Setting& setting(std::u16string_view section, std::u16string_view key)
{
    for (const Setting& row : settings)
        if (row.section == section && row.key == key)
            return row;
    throw "there is no such setting";
}

// The text of a message: its key is the message's number.
constexpr Setting messageText(std::u16string_view number) noexcept
{
    return {u"MESSAGGI", number, u"", Form::text, Kind::none};
}

} // namespace vqloan::site
