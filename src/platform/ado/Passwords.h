// What anybody may see of a connection: never its password.
//
//     report(ado::withoutPasswords(u"DSN=libri;PWD={a;b}")); // DSN=libri;PWD=********
#pragma once

#include <string>
#include <string_view>

#include "platform/runtime/RuntimeError.h"

namespace vqloan::ado {

// A password as settings have it: "********", or §NAME§ where it is exactly one placeholder.
std::u16string shownPassword(std::u16string_view value);

// A connection text, before or after its placeholders are resolved: each value that is a password or names
// one among others is shown as above, and nothing is shown of a text that cannot be read.
std::u16string withoutPasswords(std::u16string_view connectionText);

// Where an opening's failure repeats a password, in the text or beside it, says so instead of what was said;
// a state and number in parentheses at the end stay. The whole text goes, since a gap in a known sentence
// would tell what fills it. A password of up to three characters counts where it stands as a word of its own:
// as letters within other words it is no secret.
void hidePasswords(RuntimeError& failure, std::u16string_view connectionText, std::u16string_view password);

} // namespace vqloan::ado
