#include "platform/program/Account.h"

#include <windows.h>

namespace vqloan::program {

std::string accountName()
{
    // Account names have at most 256 characters (UNLEN), each of up to three bytes in UTF-8.
    wchar_t name[257];
    char utf8[3 * 257];
    DWORD size = 257;
    if (!GetUserNameW(name, &size) ||
        WideCharToMultiByte(CP_UTF8, 0, name, -1, utf8, sizeof utf8, nullptr, nullptr) == 0)
        return "of this session";
    return utf8;
}

std::optional<Sharing> sharingOf(const std::filesystem::path&)
{
    return std::nullopt;
}

bool mayAllWrite(const std::filesystem::path&)
{
    return false;
}

bool mayWrite(const std::filesystem::path& file)
{
    const DWORD attributes = GetFileAttributesW(file.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) == 0;
}

} // namespace vqloan::program
