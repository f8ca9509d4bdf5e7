// The fourteen parameter lines of CLIENT.PAR.
#include <algorithm>

#include "check/Checks.h"
#include "platform/runtime/Numbers.h"
#include "platform/runtime/OsFile.h"
#include "platform/runtime/RuntimeError.h"
#include "platform/runtime/Text.h"

namespace vqloan::client {

namespace {

using site::Line;

constexpr std::size_t count = std::size(site::parameterLines);

class ParametersCheck
{
public:
    ParametersCheck(const Parameters& parameters, Report& report) : parameters_(parameters), report_(report)
    {}

    // False where every question fails.
    bool run()
    {
        const auto& lines = parameters_.lines();
        lineEnds(lines);
        for (std::size_t i = 1; i <= std::min(lines.size(), count); ++i)
            report_.fact({decimal(i), std::u16string(site::parameterLines[i - 1].meaning),
                          i == count ? lines[i - 1] : parameters_.value(i)});
        if (lines.size() < count) {
            fail(0, u"It has " + decimal(lines.size()) + u" lines; 14 parameter lines are needed.",
                 u"Fill it up, with empty lines where nothing is used.");
            return false;
        }
        numbers();
        clientNumber();
        waitLimit();
        directory();
        localAnswer(lines[count - 1]);
        texts();
        return asks_;
    }

private:
    void lineEnds(const std::vector<std::u16string>& lines)
    {
        const auto fed = std::ranges::find_if(
            lines, [](const std::u16string& line) { return line.find(u'\n') != line.npos; });
        if (fed != lines.end())
            report_.finding(
                {std::u16string(site::hostFile), static_cast<std::size_t>(fed - lines.begin()) + 1},
                u"The line ends in LF alone: it is read as one with the next.",
                u"Let every line end in CR LF: sed -i 's/\\r*$/\\r/' CLIENT.PAR");
    }

    void numbers()
    {
        for (std::size_t i = 1; i <= count; ++i) {
            const site::LineForm form = site::parameterLines[i - 1].form;
            try {
                if (form == site::LineForm::integer)
                    numbers::toInteger(numbers::leadingNumber(parameters_.value(i)));
                else if (form == site::LineForm::single)
                    numbers::toSingle(numbers::leadingNumber(parameters_.value(i)));
            } catch (const RuntimeError&) {
                fail(i,
                     u"The number is too large" +
                         std::u16string(form == site::LineForm::integer ? u": at most 32767." : u"."),
                     u"Write a smaller one, even where it is not used.");
            }
        }
    }

    void clientNumber()
    {
        const std::u16string number(text::trim(parameters_.value(Line::clientNumber)));
        if (number.empty())
            finding(1, u"There is no client number: files are named with 00.",
                    u"Write this client's own number.");
        else if (number.find_first_of(u"/\\:*?\"<>|") != number.npos)
            fail(1, inQuotes(number) + u" cannot be part of a file's name.",
                 u"Write this client's own number.");
        else if (number.size() > 2 && number.find_first_not_of(u'0') < number.size() - 2)
            finding(1, u"Of " + inQuotes(number) + u" only the last two characters count.",
                    u"Write two, which no other client has.");
    }

    void waitLimit()
    {
        const std::u16string value = parameters_.value(Line::waitLimit);
        if (value.find(u',') != value.npos)
            finding(2, inQuotes(value) + u" is read up to its comma.",
                    u"Write a point as decimal separator.");
        if (asks_ && !(numbers::leadingNumber(value) > 0))
            finding(2, u"No host answers in time.", u"Write the seconds to wait, for example 5.");
    }

    void directory()
    {
        const std::u16string directory = parameters_.value(Line::directory);
        if (directory.empty())
            return; // told with the exchange
        if (os::separators().find(directory.back()) == std::u16string_view::npos)
            fail(3, u"The directory does not end in a path separator: file names are put directly behind.",
                 u"Add it.");
        if (directory.starts_with(u' '))
            fail(3, u"A blank stands in front of the directory, and counts as part of its name.",
                 u"Take it out.");
    }

    void localAnswer(std::u16string_view line)
    {
        const auto sign = line.find(u'=');
        const std::u16string key(text::trim(line.substr(0, std::min(sign, line.size()))));
        if (sign == line.npos)
            fail(count, u"It has no \"=\": every question fails.",
                 u"Write the code of the skipped group, \"=\" and its answer.");
        else if (key.empty())
            fail(count, u"Nothing stands in front of its \"=\": every question gets its text.",
                 u"Write the code of the skipped group there.");
        else if (key != text::upper(key))
            finding(count, inQuotes(key) + u" is not in capitals: it is never asked about by this name.",
                    u"Write it in capitals, here and in the library lines.");
        for (std::size_t i = count; i < parameters_.lines().size(); ++i) {
            const std::u16string_view library = text::trim(parameters_.lines()[i]);
            if (!key.empty() && library.starts_with(site::libraryKey) &&
                site::libraryOf(library).code.starts_with(key))
                finding(count,
                        u"Its text is told for library " + site::libraryOf(library).code +
                            u", whose code begins with " + inQuotes(key) + u".",
                        u"Write a code that no library's begins with.");
        }
    }

    // What readers are told is cut to the width.
    void texts()
    {
        if (!asks_)
            return;
        const double width = numbers::leadingNumber(parameters_.value(Line::width)) - 2;
        if (width < 1) {
            fail(6, u"The width leaves no room for an answer.",
                 u"Write the width of an answer plus 2, for example 80.");
            return;
        }
        for (const Line line : {Line::timeOutText, Line::emptyText, Line::localAnswer}) {
            const auto number = static_cast<std::size_t>(line);
            const std::u16string told(text::trim(parameters_.value(line)));
            if (static_cast<double>(told.size()) > width)
                finding(number,
                        u"The text is cut after " + decimal(static_cast<std::size_t>(width)) +
                            u" characters, by the width of line 6.",
                        u"Shorten it, or widen line 6.");
            if (told.empty())
                finding(number,
                        line == Line::timeOutText ? u"A time-out has no text: it is told as an empty answer."
                                                  : u"The text is empty: nothing is told.",
                        u"Write what a reader is to be told.");
        }
    }

    void finding(std::size_t line, std::u16string what, std::u16string advice)
    {
        report_.finding({std::u16string(site::hostFile), line}, std::move(what), std::move(advice));
    }
    void fail(std::size_t line, std::u16string what, std::u16string advice)
    {
        finding(line, std::move(what), std::move(advice));
        asks_ = false;
    }

    const Parameters& parameters_;
    Report& report_;
    bool asks_ = true;
};

} // namespace

bool checkParameters(const Parameters& parameters, Report& report)
{
    report.section(u"Parameters of kind 7000", {u"Line", u"Meaning", u"Value"});
    return ParametersCheck(parameters, report).run();
}

} // namespace vqloan::client
