// The two exchanges. A client writes its request into a file of the exchange directory, and its counterpart
// the answer into the file of the same name with the other extension: one line each, ended by CR LF, in the
// single-byte code page.
//
//               gateway ("SQL")                    host ("7000")
//   files       ZSQL_nnn.CL1, ZSQL_nnn.CL2         Z7000_nn.CL1, Z7000_nn.CL2
//   request     WL,inventory number,library code   WL,library code and inventory number, nothing in between
//   answer      a record; a TAB in front of it     a text
//               makes it a failure's message
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/runtime/Text.h"

namespace vqloan::site {

inline constexpr std::u16string_view requestExtension = u".CL1";
inline constexpr std::u16string_view answerExtension = u".CL2";
// Held by `vqloan ask` on its client number, and by a server on its prefix. No counterpart needs to know of
// it.
inline constexpr std::u16string_view lockExtension = u".lock";
inline constexpr std::u16string_view gatewayPrefix = u"ZSQL_";
inline constexpr std::u16string_view hostPrefix = u"Z7000_";

inline constexpr std::u16string_view command = u"WL";
inline constexpr std::u16string_view commandStart = u"WL,"; // of every request
inline constexpr char16_t gatewayFailureMark = u'\t';

// The client's number in the gateway's file names: three digits at least, a sign in front of them.
inline std::u16string gatewayClient(std::int32_t number)
{
    std::u16string digits = text::decimal(number);
    const std::size_t sign = number < 0 ? 1 : 0;
    return digits.insert(sign, 3 - std::min<std::size_t>(3, digits.size() - sign), u'0');
}

inline std::u16string gatewayFile(std::int32_t clientNumber, std::u16string_view extension)
{
    return std::u16string(gatewayPrefix).append(gatewayClient(clientNumber)).append(extension);
}

// The client's number in the host's file names: the last two characters, "0" in place of missing ones.
inline std::u16string hostClient(std::u16string_view number)
{
    const std::u16string padded = std::u16string(u"00").append(number);
    return padded.substr(padded.size() - 2);
}

// The host knows inventory numbers by their last six characters.
constexpr std::u16string_view hostInventory(std::u16string_view inventory) noexcept
{
    return inventory.substr(inventory.size() - std::min<std::size_t>(inventory.size(), 6));
}

// The gateway's request line; what the host call makes its own from, too.
inline std::u16string requestLine(std::u16string_view what, std::u16string_view inventory,
                                  std::u16string_view library)
{
    return std::u16string(what).append(u",").append(inventory).append(u",").append(library);
}

} // namespace vqloan::site
