// What the site's files are: there, readable, in an encoding that is read.
#include <algorithm>

#include "Component.h"
#include "check/Checks.h"
#include "platform/program/Account.h"
#include "platform/runtime/OsFile.h"
#include "platform/runtime/OsProcess.h"
#include "platform/runtime/RuntimeError.h"
#include "platform/runtime/Text.h"

namespace fs = std::filesystem;

namespace vqloan::client {

namespace {

// A file's name that differs in its letters' case only, which counts on most systems.
std::u16string otherSpelling(const fs::path& path)
{
    std::error_code failed;
    for (const auto& entry : fs::directory_iterator(path.parent_path(), failed))
        if (std::u16string name = os::pathText(entry.path().filename());
            text::equalsIgnoringCase(name, os::pathText(path.filename())))
            return name;
    return {};
}

std::size_t lineAt(std::string_view contents, std::size_t at)
{
    return 1 + static_cast<std::size_t>(std::ranges::count(contents.substr(0, at), '\n'));
}

// Of the first character beyond ASCII; npos where there is none.
std::size_t beyondAscii(std::string_view contents)
{
    const auto found =
        std::ranges::find_if(contents, [](char c) { return static_cast<unsigned char>(c) > 127; });
    return found == contents.end() ? contents.npos : static_cast<std::size_t>(found - contents.begin());
}

// The first line that is UTF-8 for sure; 0 where there is none.
std::size_t lineInUtf8(std::string_view contents)
{
    for (std::size_t at = 0, number = 1; at < contents.size(); ++number) {
        const std::size_t end = std::min(contents.find('\n', at), contents.size());
        const std::string_view line = contents.substr(at, end - at);
        if (beyondAscii(line) != line.npos && text::isUtf8(line))
            return number;
        at = end + 1;
    }
    return 0;
}

bool hasMark16(std::string_view contents)
{
    return contents.starts_with("\xFF\xFE") || contents.starts_with("\xFE\xFF");
}
bool hasZeros(std::string_view contents)
{
    return contents.find('\0') != contents.npos;
}

void reportState(const SiteFile& file, const Place& place, bool isNeeded, Report& report)
{
    using State = SiteFile::State;
    const std::u16string account = text::fromUtf8(program::accountName());
    report.fact({place.file, os::pathText(file.path),
                 file.state == State::found     ? u"found"
                 : file.state == State::missing ? (isNeeded ? u"MISSING" : u"not there")
                                                : u"CANNOT BE READ"});
    if (file.state == State::unreadable)
        report.finding(place, u"The account " + account + u" cannot read it: " + file.reason + u".",
                       u"Let the accounts of its clients read it: every opening fails.");
    if (program::mayAllWrite(file.path))
        report.finding(place, u"Every account may change it, and so what readers are told.", u"chmod o-w");
    if (file.state != State::missing)
        return;
    const std::u16string other = otherSpelling(file.path);
    if (!isNeeded && other.empty())
        return;
    report.finding(
        place, u"It is not in the site's directory" + (other.empty() ? u"." : u", but " + other + u" is."),
        other.empty() ? u"Put one there; examples/site has one to start from." : u"Rename that file.");
}

} // namespace

std::u16string reasonOf(std::int32_t systemError)
{
    std::u16string reason = os::errorMessage(systemError);
    while (reason.ends_with(u'.') || reason.ends_with(u'\n') || reason.ends_with(u'\r'))
        reason.pop_back();
    return reason;
}

SiteFile readSiteFile(const fs::path& path)
{
    SiteFile file{path};
    try {
        if (!os::stateOf(os::pathText(path)))
            return file;
        os::File opened(os::pathText(path), os::File::Mode::Read, os::Place::own);
        char piece[32 * 1024];
        while (const std::size_t count = opened.read(piece, sizeof piece))
            file.contents.append(piece, count);
        file.state = SiteFile::State::found;
    } catch (const RuntimeError& error) {
        file.state = SiteFile::State::unreadable;
        file.reason = error.lastDllError != 0 ? reasonOf(error.lastDllError) : error.description;
    }
    return file;
}

bool checkSettingsFile(const SiteFile& file, bool isNeeded, Report& report)
{
    const Place place{std::u16string(site::settingsFile)};
    reportState(file, place, isNeeded, report);
    if (!hasMark16(file.contents) && hasZeros(file.contents)) {
        report.finding(place, u"It holds characters of code 0, as UTF-16 without a byte-order mark does.",
                       u"Save it as UTF-8.");
        return false;
    }
    if (!hasMark16(file.contents) && !text::isUtf8(file.contents))
        if (const std::size_t line = lineInUtf8(file.contents))
            report.finding({place.file, line},
                           u"The line is UTF-8, but another one is not: all are read as Windows-1252.",
                           u"Save the file in one encoding.");
    return file.state == SiteFile::State::found;
}

bool checkParametersFile(const SiteFile& file, bool isNeeded, Report& report)
{
    const Place place{std::u16string(site::hostFile)};
    reportState(file, place, isNeeded, report);
    if (hasMark16(file.contents) || hasZeros(file.contents)) {
        report.finding(place, u"It is UTF-16, and is read as Windows-1252.", u"Save it as Windows-1252.");
        return false;
    }
    const std::size_t at = beyondAscii(file.contents);
    if (at != file.contents.npos && text::isUtf8(file.contents))
        report.finding(
            {place.file, lineAt(file.contents, at)},
            u"It is UTF-8, and is read as Windows-1252: characters beyond ASCII are told as others.",
            u"Save it as Windows-1252: iconv -f UTF-8 -t WINDOWS-1252");
    return file.state == SiteFile::State::found;
}

bool checkComponent(const Site& site, Report& report)
{
    report.fact({os::pathText(componentName()), os::pathText(site.source()),
                 site.ownComponent() ? u"found" : u"the site has none of its own"});
    try {
        const Component component(site);
        return true;
    } catch (const std::exception& error) {
        report.finding({os::pathText(componentName())},
                       u"It cannot be loaded: " + text::fromUtf8(error.what()) + u".",
                       u"Put the one there that came with this vqloan.");
        return false;
    }
}

void checkSiteDirectory(const Site& site, Report& report)
{
    if (program::mayAllWrite(site.directory()))
        report.finding({os::pathText(site.directory())},
                       u"Every account may replace the files there, and the component's code with them.",
                       u"chmod o-w");
    if (site.ownComponent() && program::mayAllWrite(site.component()))
        report.finding({os::pathText(componentName())},
                       u"Every account may change it, and so run its code in clients.", u"chmod o-w");
}

} // namespace vqloan::client
