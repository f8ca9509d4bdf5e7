// What is read of the library database.
#pragma once

#include <cstddef>
#include <string_view>

namespace vqloan::site {

struct Table
{
    std::u16string_view name;
    std::u16string_view columns; // divided by ", "
    std::u16string_view key; // the columns that a question finds its rows by; empty: the whole table is read
};

inline constexpr Table tables[] = {
    {u"TABBIBLIOTECHE", u"CODBIB, DESCR, FLGMOVIM", u"CODBIB"},
    {u"POSSEDUTO", u"CODBIB, INVENTARIO, STATO, FLGSERV, COLLOCAZIONE", u"CODBIB, INVENTARIO"},
    {u"MOVIMENTI", u"CODBIB, INVENTARIO, FLGCHIUSO, LIVSOLL, DATA_SCAD, DATA", u"CODBIB, INVENTARIO"},
    {u"TABBLOCCOMAT", u"CODBLOCMAT, MESSAGGIO", u""},
};

// A special status is kept as its code, a TAB and its text. A shorter entry is padded with blanks, a longer
// one cut.
inline constexpr std::size_t statusEntryLength = 40;

} // namespace vqloan::site
