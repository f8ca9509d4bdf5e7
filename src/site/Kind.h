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

struct KindRow
{
    Kind kind;
    std::u16string_view name; // what OpenDatabase is told
    std::u16string_view backEnd;
};

inline constexpr KindRow kinds[] = {
    {Kind::database, u"SQL2", u"database"},
    {Kind::gateway, u"SQL", u"gateway"},
    {Kind::host, u"7000", u"host"},
};

// Kind::none for a name that is no kind's; the names are exact.
constexpr Kind kindNamed(std::u16string_view name) noexcept
{
    for (const KindRow& row : kinds)
        if (row.name == name)
            return row.kind;
    return Kind::none;
}

// Empty for Kind::none.
constexpr std::u16string_view nameOf(Kind kind) noexcept
{
    for (const KindRow& row : kinds)
        if (row.kind == kind)
            return row.name;
    return {};
}

} // namespace vqloan::site
