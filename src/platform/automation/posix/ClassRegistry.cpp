#include "platform/automation/posix/ClassRegistry.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <optional>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

// The format: UTF-8 text, a class in each line, registered last comes last:
//
//     {clsid} TAB programmatic identifier TAB path of the file
//
// The path goes to the end of the line and may hold anything but a line feed. Other lines are comments: they
// are passed over and kept.

namespace automation::registry {

namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

constexpr char heading[] = "# Classes of in-process components: identifier, programmatic identifier, file.";

class Descriptor
{
public:
    Descriptor(const fs::path& file, int flags) noexcept
        : descriptor_(open(file.c_str(), flags | O_CLOEXEC, 0666))
    {}
    ~Descriptor()
    {
        if (descriptor_ >= 0)
            ::close(descriptor_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    explicit operator bool() const noexcept { return descriptor_ >= 0; }
    int get() const noexcept { return descriptor_; }
    // Tells whether what was written has been taken.
    bool close() noexcept { return ::close(std::exchange(descriptor_, -1)) == 0; }

private:
    int descriptor_;
};

HRESULT failure(int error, HRESULT otherwise) noexcept
{
    return error == EACCES || error == EPERM || error == EROFS ? E_ACCESSDENIED : otherwise;
}

const char* variable(const char* name) noexcept
{
    const char* value = std::getenv(name);
    return value ? value : "";
}

// Empty when the user has no home.
fs::path registryFile()
{
    if (fs::path named = variable("AUTOMATION_REGISTRY"); !named.empty())
        return named;
    const fs::path place = fs::path("automation") / "registry";
    if (const fs::path data = variable("XDG_DATA_HOME"); data.is_absolute())
        return data / place;
    const fs::path home = variable("HOME");
    return home.empty() ? home : home / ".local" / "share" / place;
}

fs::path beside(fs::path file, const char* extension)
{
    return file += extension;
}

std::string format(REFCLSID clsid)
{
    OLECHAR text[39];
    const int length = StringFromGUID2(clsid, text, 39) - 1;
    return std::string(text, text + length);
}

std::optional<Registration> parse(std::string_view line)
{
    const std::size_t first = line.find('\t');
    const std::size_t second = first == line.npos ? line.npos : line.find('\t', first + 1);
    if (second == line.npos || !line.starts_with('{'))
        return std::nullopt;
    const std::u16string clsid(line.begin(), line.begin() + static_cast<std::ptrdiff_t>(first));
    Registration result;
    if (FAILED(CLSIDFromString(clsid.c_str(), &result.clsid)))
        return std::nullopt;
    result.progId = line.substr(first + 1, second - first - 1);
    result.file = line.substr(second + 1);
    return result;
}

// A file that is not there yet has no lines.
HRESULT read(const fs::path& file, Lines& lines)
{
    const Descriptor descriptor(file, O_RDONLY);
    if (!descriptor)
        return errno == ENOENT ? S_OK : failure(errno, REGDB_E_READREGDB);
    std::string text;
    char block[4096];
    for (;;) {
        const ssize_t count = ::read(descriptor.get(), block, sizeof block);
        if (count == 0)
            break;
        if (count > 0)
            text.append(block, static_cast<std::size_t>(count));
        else if (errno != EINTR)
            return failure(errno, REGDB_E_READREGDB);
    }
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return S_OK;
}

// Written aside and renamed, so that no reader meets half a file.
HRESULT write(const fs::path& file, const Lines& lines)
{
    std::string text;
    for (const std::string& line : lines)
        text.append(line).push_back('\n');

    const fs::path aside = beside(file, ".new");
    Descriptor descriptor(aside, O_WRONLY | O_CREAT | O_TRUNC);
    if (!descriptor)
        return failure(errno, E_FAIL);
    for (std::string_view rest = text; !rest.empty();) {
        const ssize_t count = ::write(descriptor.get(), rest.data(), rest.size());
        if (count >= 0)
            rest.remove_prefix(static_cast<std::size_t>(count));
        else if (errno != EINTR)
            return failure(errno, E_FAIL);
    }
    if (::fsync(descriptor.get()) != 0 || !descriptor.close() ||
        std::rename(aside.c_str(), file.c_str()) != 0)
        return failure(errno, E_FAIL);
    return S_OK;
}

template <class Matches> HRESULT find(Registration& found, Matches matches)
{
    const fs::path file = registryFile();
    if (file.empty())
        return REGDB_E_READREGDB;
    Lines lines;
    if (const HRESULT result = read(file, lines); FAILED(result))
        return result;
    for (auto line = lines.rbegin(); line != lines.rend(); ++line)
        if (std::optional<Registration> registration = parse(*line); registration && matches(*registration)) {
            found = std::move(*registration);
            return S_OK;
        }
    return REGDB_E_CLASSNOTREG;
}

// Changes the lines while no other thread or process can. The lock is a file of its own that stays: the
// registry itself is replaced by each change, and a lock on it would be one on a file that is gone.
template <class Change> HRESULT change(Change changeLines)
{
    const fs::path file = registryFile();
    if (file.empty())
        return REGDB_E_READREGDB;
    std::error_code error;
    if (file.has_parent_path())
        fs::create_directories(file.parent_path(), error); // the lock tells when this has failed
    const Descriptor lock(beside(file, ".lock"), O_RDWR | O_CREAT);
    if (!lock)
        return failure(errno, E_FAIL);
    while (::flock(lock.get(), LOCK_EX) != 0)
        if (errno != EINTR)
            return failure(errno, E_FAIL);

    Lines lines;
    if (const HRESULT result = read(file, lines); FAILED(result))
        return result;
    return changeLines(lines) ? write(file, lines) : S_OK;
}

char lower(char letter) noexcept
{
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

bool sameProgId(std::string_view a, std::string_view b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return lower(x) == lower(y); });
}

} // namespace

HRESULT findClass(REFCLSID clsid, Registration& found)
{
    return find(found, [&](const Registration& registration) { return registration.clsid == clsid; });
}

HRESULT findProgId(std::string_view progId, Registration& found)
{
    if (progId.empty())
        return REGDB_E_CLASSNOTREG;
    return find(found,
                [&](const Registration& registration) { return sameProgId(registration.progId, progId); });
}

HRESULT add(const Registration& registration)
{
    return change([&](Lines& lines) {
        std::erase_if(lines, [&](const std::string& line) {
            const std::optional<Registration> present = parse(line);
            return present && present->clsid == registration.clsid;
        });
        if (lines.empty())
            lines.emplace_back(heading);
        lines.push_back(format(registration.clsid) + '\t' + registration.progId + '\t' +
                        registration.file.string());
        return true;
    });
}

HRESULT remove(REFCLSID clsid, std::string_view progId)
{
    return change([&](Lines& lines) {
        return std::erase_if(lines, [&](const std::string& line) {
                   const std::optional<Registration> present = parse(line);
                   return present && present->clsid == clsid && sameProgId(present->progId, progId);
               }) > 0;
    });
}

} // namespace automation::registry
