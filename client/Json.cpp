#include "Json.h"

#include <cstdio>

#include "platform/runtime/Text.h"

namespace vqloan::client {

std::string jsonText(std::u16string_view text)
{
    std::string out = "\"";
    for (const char byte : text::toUtf8(text)) {
        if (byte == '"' || byte == '\\') {
            out += '\\';
            out += byte;
        } else if (static_cast<unsigned char>(byte) < 0x20 || byte == 0x7F) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned>(byte));
            out += escaped;
        } else {
            out += byte;
        }
    }
    return out + '"';
}

} // namespace vqloan::client
