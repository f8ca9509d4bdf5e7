// Owner of a BSTR.
#pragma once

#include <string_view>
#include <utility>

#include "platform/automation/Automation.h"

namespace vqloan {

// OLECHAR is char16_t here and wchar_t on Windows, both UTF-16.
inline const char16_t* toText(const OLECHAR* text) noexcept
{
    return reinterpret_cast<const char16_t*>(text);
}
inline const OLECHAR* toOle(const char16_t* text) noexcept
{
    return reinterpret_cast<const OLECHAR*>(text);
}

// The text of a BSTR that somebody else owns; null is the empty text. Valid as long as the BSTR is.
inline std::u16string_view viewOf(BSTR text) noexcept
{
    return {text ? toText(text) : u"", SysStringLen(text)};
}

class Bstr
{
public:
    Bstr() noexcept = default;
    // Throws RuntimeError 7 when memory runs out or the text is longer than a BSTR can be.
    explicit Bstr(std::u16string_view text);
    ~Bstr() { SysFreeString(text_); }
    Bstr(Bstr&& other) noexcept : text_(std::exchange(other.text_, nullptr)) {}
    Bstr& operator=(Bstr&& other) noexcept
    {
        std::swap(text_, other.text_);
        return *this;
    }
    Bstr(const Bstr&) = delete;
    Bstr& operator=(const Bstr&) = delete;

    std::u16string_view view() const noexcept { return viewOf(text_); }
    BSTR get() const noexcept { return text_; }
    // For an out or in/out parameter: the callee may free and replace the text.
    BSTR* address() noexcept { return &text_; }
    // The caller frees it.
    [[nodiscard]] BSTR release() noexcept { return std::exchange(text_, nullptr); }

private:
    BSTR text_ = nullptr;
};

} // namespace vqloan
