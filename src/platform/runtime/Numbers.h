// Numbers at the start of a text, independent of the locale. (Conversion of whole texts under the user's
// locale is Variant::toLong and its neighbours.)
#pragma once

#include <string_view>

#include "platform/runtime/Int16.h"

namespace vqloan::numbers {

// The number that `text` begins with: blanks, TABs and line feeds are skipped wherever they stand; sign,
// digits, a point as decimal separator, an exponent (E or D), and the prefixes &H and &O are taken; reading
// stops at the first character that cannot go on. No number gives 0. An exponent out of range is
// RuntimeError 6. Hexadecimal and octal digits that fit 16 (or 32) bits are the bit pattern of a 16-bit
// (32-bit) integer: &HFFFF is -1.
double leadingNumber(std::u16string_view text);

// Rounded to the nearest integer, halves to the even neighbour. RuntimeError 6 outside 16 bits.
Int16 toInteger(double number);
// As single precision. RuntimeError 6 beyond its range.
float toSingle(double number);

} // namespace vqloan::numbers
