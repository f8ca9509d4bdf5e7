// BSTR: a block of memory that holds the length in bytes, the text, and zero bytes that close it.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>

#include "platform/automation/Automation.h"

namespace {

// The text starts 8 bytes into the block, so that it is aligned as on 64-bit Windows; the length is the half
// of the header next to it.
constexpr std::size_t headerBytes = 8;
// An odd number of bytes is closed by two zero bytes as well, the second one aligned.
constexpr std::size_t closingBytes = 3;
constexpr std::uint64_t mostBytes = std::numeric_limits<std::uint32_t>::max() - headerBytes - closingBytes;

// Without `content` the text is all zeros.
BSTR allocate(const void* content, std::uint64_t bytes) noexcept
{
    if (bytes > mostBytes)
        return nullptr;
    const auto size = static_cast<std::size_t>(bytes);
    const std::size_t blockBytes = headerBytes + size + closingBytes;
    auto* block = static_cast<char*>(content ? std::malloc(blockBytes) : std::calloc(1, blockBytes));
    if (!block)
        return nullptr;
    const auto length = static_cast<std::uint32_t>(bytes);
    char* text = block + headerBytes;
    std::memcpy(text - sizeof length, &length, sizeof length);
    if (content) {
        std::memcpy(text, content, size);
        std::memset(text + size, 0, closingBytes);
    }
    return reinterpret_cast<BSTR>(text);
}

} // namespace

BSTR SysAllocString(const OLECHAR* text)
{
    return text ? allocate(text, std::uint64_t{std::char_traits<OLECHAR>::length(text)} * sizeof(OLECHAR))
                : nullptr;
}

BSTR SysAllocStringLen(const OLECHAR* text, UINT length)
{
    return allocate(text, std::uint64_t{length} * sizeof(OLECHAR));
}

BSTR SysAllocStringByteLen(const char* bytes, UINT length)
{
    return allocate(bytes, length);
}

INT SysReAllocString(BSTR* text, const OLECHAR* replacement)
{
    if (!text)
        return FALSE;
    // The replacement may be part of the old text, which therefore goes last; when memory runs out it stays.
    BSTR fresh = SysAllocString(replacement);
    if (replacement && !fresh)
        return FALSE;
    SysFreeString(*text);
    *text = fresh;
    return TRUE;
}

INT SysReAllocStringLen(BSTR* text, const OLECHAR* replacement, UINT length)
{
    if (!text)
        return FALSE;
    BSTR fresh = SysAllocStringLen(replacement, length);
    if (!fresh)
        return FALSE;
    // Without a replacement only the length changes.
    if (!replacement && *text)
        std::memcpy(fresh, *text, std::size_t{std::min(length, SysStringLen(*text))} * sizeof(OLECHAR));
    SysFreeString(*text);
    *text = fresh;
    return TRUE;
}

void SysFreeString(BSTR text)
{
    if (text)
        std::free(reinterpret_cast<char*>(text) - headerBytes);
}

UINT SysStringLen(BSTR text)
{
    return SysStringByteLen(text) / UINT{sizeof(OLECHAR)};
}

UINT SysStringByteLen(BSTR text)
{
    std::uint32_t length = 0;
    if (text)
        std::memcpy(&length, reinterpret_cast<const char*>(text) - sizeof length, sizeof length);
    return length;
}
