// The library lines of CLIENT.PAR, and those that look like some.
#include <algorithm>
#include <set>

#include "Nearest.h"
#include "check/Checks.h"
#include "platform/runtime/Text.h"

namespace vqloan::client {

namespace {

constexpr std::size_t parameters = std::size(site::parameterLines);

// Nobody reads a key that is written otherwise.
bool looksLikeLibrary(std::u16string_view line)
{
    const auto end = line.find_first_of(u"=:, ");
    const std::string key = text::toUtf8(text::upper(text::trim(line.substr(0, end))));
    return end != line.npos && !nearest(key, {"CODBIB"}).empty();
}

class LibrariesCheck
{
public:
    LibrariesCheck(const Parameters& parameters, Report& report) : lines_(parameters.lines()), report_(report)
    {}

    // False where no library can be asked about.
    bool run()
    {
        for (number_ = 1; number_ <= lines_.size(); ++number_)
            line(lines_[number_ - 1]);
        const Place file{std::u16string(site::hostFile)};
        if (codes_.empty())
            report_.finding(file, u"No library is listed: nothing is asked.",
                            u"Add lines codbib=CC,GG,Name below line 14.");
        if (count_ > site::mostLibraries)
            report_.finding(file,
                            decimal(count_) + u" libraries are listed, and there is room for " +
                                decimal(site::mostLibraries) + u": nothing can be opened.",
                            u"Take out the others.");
        return !codes_.empty() && count_ <= site::mostLibraries;
    }

private:
    void line(const std::u16string& line)
    {
        const std::u16string_view trimmed = text::trim(line);
        if (text::equalsIgnoringCase(trimmed.substr(0, site::libraryKey.size()), site::libraryKey))
            library(line, trimmed);
        else if (number_ > parameters || looksLikeLibrary(trimmed))
            other(trimmed);
    }

    void library(const std::u16string& line, std::u16string_view trimmed)
    {
        const site::Library library = site::libraryOf(trimmed);
        report_.fact({decimal(number_), library.code, library.group, library.name});
        ++count_;
        const std::u16string form = u"Write codbib=CC,GG,Name, with codes of two characters.";
        if (number_ <= parameters)
            finding(u"It is a library line among the 14 parameter lines.", u"Move it below line 14.");
        if (!trimmed.starts_with(site::libraryKey) || line.starts_with(u' '))
            finding(u"It is a library line when the kind is opened, and none when a question is asked.",
                    u"Write codbib= in lower case, with nothing in front.");
        if (trimmed.size() > 9 && trimmed[9] != u',')
            finding(u"The library code is read as " + inQuotes(library.code) + u": it has two characters.",
                    form);
        else if (trimmed.size() > 12 && trimmed[12] != u',')
            finding(u"The group is read as " + inQuotes(library.group) + u": it has two characters.", form);
        else if (library.name.empty())
            finding(u"The library has no name: it counts as not listed.", form);
        if (!codes_.insert(library.code).second)
            finding(u"The library code " + library.code + u" stands further up already.",
                    u"Take it out: the first one counts.");
    }

    void other(std::u16string_view trimmed)
    {
        const bool nextIsLibrary =
            number_ < lines_.size() &&
            text::equalsIgnoringCase(lines_[number_].substr(0, site::libraryKey.size()), site::libraryKey);
        if (looksLikeLibrary(trimmed))
            finding(u"It looks like a library and is not read as one.", u"Write codbib=CC,GG,Name.");
        else if (nextIsLibrary && trimmed.find(u'=') != trimmed.npos)
            finding(u"Its group is skipped in place of that of line 14: it stands in front of a library.",
                    u"Take it out, or move it to the end.");
        else if (number_ == parameters + 1 && trimmed.empty())
            finding(u"It is empty, between line 14 and the libraries: the group of line 14 is not skipped.",
                    u"Take it out.");
        else if (!trimmed.empty())
            finding(u"Nothing reads it.", u"Take it out.");
    }

    void finding(std::u16string what, std::u16string advice)
    {
        report_.finding({std::u16string(site::hostFile), number_}, std::move(what), std::move(advice));
    }

    const std::vector<std::u16string>& lines_;
    Report& report_;
    std::size_t number_ = 0, count_ = 0;
    std::set<std::u16string> codes_;
};

} // namespace

bool checkLibraries(const Parameters& parameters, Report& report)
{
    report.section(u"Libraries of kind 7000", {u"Line", u"Code", u"Group", u"Name"});
    return LibrariesCheck(parameters, report).run();
}

} // namespace vqloan::client
