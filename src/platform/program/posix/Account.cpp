#include "platform/program/Account.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vqloan::program {

std::string accountName()
{
    const uid_t account = geteuid();
    const passwd* const entry = getpwuid(account);
    return entry && entry->pw_name ? entry->pw_name : std::to_string(account);
}

std::optional<Sharing> sharingOf(const std::filesystem::path& directory)
{
    struct stat status;
    if (stat(directory.c_str(), &status) != 0 || !S_ISDIR(status.st_mode))
        return std::nullopt;
    const mode_t lacking = umask(0); // which is the only way to ask
    umask(lacking);
    return Sharing{
        .byGroup = (status.st_mode & S_IWGRP) != 0,
        .byEverybody = (status.st_mode & S_IWOTH) != 0,
        .onlyOwn = (status.st_mode & S_ISVTX) != 0,
        .filesLeave = (status.st_mode & S_ISGID) == 0 && status.st_gid != getegid(),
        .groupReads = (lacking & S_IRGRP) == 0,
    };
}

bool mayAllWrite(const std::filesystem::path& path)
{
    struct stat status;
    if (stat(path.c_str(), &status) != 0 || (status.st_mode & S_IWOTH) == 0)
        return false;
    return !S_ISDIR(status.st_mode) || (status.st_mode & S_ISVTX) == 0;
}

bool mayWrite(const std::filesystem::path& file)
{
    return faccessat(AT_FDCWD, file.c_str(), W_OK, AT_EACCESS | AT_SYMLINK_NOFOLLOW) == 0;
}

} // namespace vqloan::program
