// The machine's ANSI code page in both directions.
#include "platform/automation/Automation.h"
#include "platform/runtime/Bstr.h"
#include "platform/runtime/Text.h"

namespace vqloan::text {
namespace {

bool isUtf8Machine()
{
    return GetACP() == CP_UTF8;
}

// The conversion writes one "?" for each half of a character beyond 16 bits; with its first half alone, it is
// one.
std::u16string withoutLowHalves(std::u16string_view text)
{
    std::u16string kept;
    kept.reserve(text.size());
    bool afterHigh = false;
    for (const char16_t unit : text) {
        if (!afterHigh || !isLowSurrogate(unit))
            kept += unit;
        afterHigh = !afterHigh && isHighSurrogate(unit);
    }
    return kept;
}

} // namespace

std::string toCodePage(std::u16string_view text)
{
    if (isUtf8Machine())
        return toUtf8(text);
    const std::u16string units = withoutLowHalves(text);
    const int length = static_cast<int>(units.size());
    std::string bytes(units.size() * 2, '\0'); // no code page but UTF-8 has more bytes to a character
    if (length == 0)
        return bytes;
    // Without the flag, characters become others that look like them.
    const int written = WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, toOle(units.data()), length,
                                            bytes.data(), static_cast<int>(bytes.size()), "?", nullptr);
    bytes.resize(static_cast<std::size_t>(written));
    return bytes;
}

void fromCodePage(std::string_view bytes, std::u16string& text)
{
    if (isUtf8Machine()) {
        text = fromUtf8(bytes);
        return;
    }
    text.resize(bytes.size());
    if (bytes.empty())
        return;
    const int length = static_cast<int>(bytes.size());
    const int written =
        MultiByteToWideChar(CP_ACP, 0, bytes.data(), length, reinterpret_cast<OLECHAR*>(text.data()), length);
    text.resize(static_cast<std::size_t>(written));
}

} // namespace vqloan::text
