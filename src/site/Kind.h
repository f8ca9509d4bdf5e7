// The kinds of back end that a site can have.
#pragma once

#include <cstdint>
#include <string_view>

namespace vqloan::site {

// The values are those of DBType, which clients read and write.
enum class Kind : std::int16_t
{
    none,
    host,
    gateway,
    database
};

// By value of Kind: what OpenDatabase is told.
inline constexpr std::u16string_view kindNames[] = {u"", u"7000", u"SQL", u"SQL2"};

// Kind::none for a name that is no kind's; the names are exact.
constexpr Kind kindNamed(std::u16string_view name) noexcept
{
    for (const Kind kind : {Kind::host, Kind::gateway, Kind::database})
        if (kindNames[static_cast<int>(kind)] == name)
            return kind;
    return Kind::none;
}

} // namespace vqloan::site
