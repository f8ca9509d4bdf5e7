#include "config/Placeholders.h"

#include "component/RecordError.h"
#include "external/SysTools.h"
#include "site/Settings.h"

namespace vqloan::settings {

using site::placeholderSign;

bool resolveAll(std::u16string& text)
{
    for (;;) {
        // From the beginning each time, since a value that was put in may form a placeholder with the text
        // around it.
        const auto opening = text.find(placeholderSign);
        if (opening == std::u16string::npos)
            return true;
        const auto closing = text.find(placeholderSign, opening + 1);
        if (closing == std::u16string::npos)
            return true;
        std::u16string name = text.substr(opening + 1, closing - opening - 1);
        if (sysTools().ResolvePlaceholder(name))
            return false;
        text.replace(opening, closing - opening + 1, name);
    }
}

bool resolveWhole(std::u16string& text)
{
    if (text.empty() || text.front() != placeholderSign)
        return true;
    const bool isWhole = text.find(placeholderSign, 1) == text.size() - 1;
    text.erase(0, 1);
    std::u16string marker(1, placeholderSign);
    sysTools().StripChar(text, marker);
    if (!sysTools().ResolvePlaceholder(text))
        return true;
    // What was taken for a name may be a password that happens to begin so: the record forgets it.
    if (!isWhole)
        RecordError({.Description = u"A value that begins with \u00A7 is no placeholder \u00A7NAME\u00A7"},
                    recording::asGiven);
    return false;
}

} // namespace vqloan::settings
