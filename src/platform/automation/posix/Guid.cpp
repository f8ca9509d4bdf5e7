// GUIDs as text: {6B29FC40-CA47-1067-B31D-00DD010662DA}
#include <cstring>
#include <string_view>

#include "platform/automation/Automation.h"

namespace {

constexpr int textLength = 38;

// The bytes in the order in which their digits stand in the text; -1 for a dash. On a little-endian machine
// the first three fields are stored back to front.
constexpr signed char byteOrder[] = {3, 2, 1, 0, -1, 5, 4, -1, 7, 6, -1, 8, 9, -1, 10, 11, 12, 13, 14, 15};

int digitValue(OLECHAR digit) noexcept
{
    if (digit >= u'0' && digit <= u'9')
        return digit - u'0';
    const int letter = digit | 0x20;
    return letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : -1;
}

bool parse(std::u16string_view text, GUID& guid) noexcept
{
    if (text.size() != textLength || text.front() != u'{' || text.back() != u'}')
        return false;
    unsigned char bytes[sizeof guid];
    std::size_t at = 1;
    for (const signed char index : byteOrder) {
        if (index < 0) {
            if (text[at++] != u'-')
                return false;
            continue;
        }
        const int high = digitValue(text[at++]);
        const int low = digitValue(text[at++]);
        if (high < 0 || low < 0)
            return false;
        bytes[index] = static_cast<unsigned char>(high << 4 | low);
    }
    std::memcpy(&guid, bytes, sizeof guid);
    return true;
}

} // namespace

INT StringFromGUID2(REFGUID guid, LPOLESTR text, INT capacity)
{
    if (!text || capacity <= textLength)
        return 0;
    constexpr std::u16string_view digits = u"0123456789ABCDEF";
    unsigned char bytes[sizeof guid];
    std::memcpy(bytes, &guid, sizeof guid);
    *text++ = u'{';
    for (const signed char index : byteOrder) {
        if (index < 0) {
            *text++ = u'-';
            continue;
        }
        *text++ = digits[bytes[index] >> 4];
        *text++ = digits[bytes[index] & 15];
    }
    *text++ = u'}';
    *text = 0;
    return textLength + 1;
}

HRESULT CLSIDFromString(LPCOLESTR text, CLSID* clsid)
{
    if (!clsid)
        return E_INVALIDARG;
    *clsid = {};
    // No text is the null identifier; what is not in braces can still be a programmatic identifier.
    if (!text)
        return S_OK;
    if (*text != u'{')
        return CLSIDFromProgID(text, clsid);
    return parse(text, *clsid) ? S_OK : CO_E_CLASSSTRING;
}
