// What is read of the library database.
#pragma once

#include <cstddef>
#include <string_view>

namespace vqloan::site {

struct Table
{
    std::u16string_view name;
    std::u16string_view columns; // divided by ", "
};

inline constexpr Table tables[] = {
    {u"TABBIBLIOTECHE", u"CODBIB, DESCR, FLGMOVIM"},
    {u"POSSEDUTO", u"CODBIB, INVENTARIO, STATO, FLGSERV, COLLOCAZIONE"},
    {u"MOVIMENTI", u"CODBIB, INVENTARIO, FLGCHIUSO, LIVSOLL, DATA_SCAD, DATA"},
    {u"TABBLOCCOMAT", u"CODBLOCMAT, MESSAGGIO"},
};

// A special status is kept as its code, a TAB and its text. A shorter entry is padded with blanks, a longer
// one cut.
inline constexpr std::size_t statusEntryLength = 40;

} // namespace vqloan::site
