#include <span>

#include "component/DispSvr.h"
#include "component/RecordError.h"
#include "config/SettingsFiles.h"
#include "platform/runtime/Text.h"
#include "platform/runtime/TextFiles.h"
#include "request/HostExchange.h"
#include "request/HostParameters.h"
#include "site/Exchange.h"

// The exchange with the legacy host, in the directory that CLIENT.PAR names. The request file stays where it
// is, the answer file until the next request.

namespace vqloan {

namespace {

using site::commandStart;

constexpr std::int32_t fileNo = 1;

// "WL,inventory,library" as the line to send, "WL,library inventory" without the blank. Where the library
// code is the group of one of the first `rows` rows, that row's library code takes its place; the rows after
// it are compared with the new code.
std::u16string lineToSend(std::u16string_view request, const LibraryTable& table, std::size_t rows)
{
    std::u16string line(request);
    const auto comma = request.find(u',', commandStart.size());
    if (request.starts_with(commandStart) && comma != std::u16string_view::npos) {
        std::u16string library(request.substr(comma + 1));
        for (const site::Library& row : std::span(table).first(rows))
            if (row.group == library)
                library = row.code;
        line.assign(commandStart).append(library);
        line.append(request.substr(commandStart.size(), comma - commandStart.size()));
    }
    return std::u16string(text::trim(line));
}

bool isAnsweredHere(std::u16string_view line, std::u16string_view localKey)
{
    return line.find(std::u16string(commandStart).append(localKey)) != std::u16string_view::npos;
}

std::u16string askHost(const HostParameters& parameters, std::u16string_view line)
{
    const auto file = [&](std::u16string_view extension) {
        return std::u16string(parameters.directory)
            .append(site::hostPrefix)
            .append(parameters.clientNumber)
            .append(extension);
    };
    HostExchange exchange(file(site::requestExtension), file(site::answerExtension), parameters.waitLimit);
    return exchange.ask(line).value_or(parameters.timeOutText);
}

// Three blanks in place of each TAB and of the blanks in front of it.
std::u16string withoutTabs(std::u16string_view answer)
{
    std::u16string line;
    line.reserve(answer.size());
    for (const char16_t unit : answer) {
        if (unit != site::tab.front()) {
            line += unit;
            continue;
        }
        requireInt16(line.size() + 1); // where the TAB stands
        line.resize(text::trimRight(line).size());
        line.append(3, u' ');
    }
    return line;
}

} // namespace

bool DispSvr::Call7000(std::u16string_view Req, std::u16string& Answer) noexcept
{
    bool failed = true;
    try {
        const std::u16string request = text::upper(Req);

        files::openForReading(fileNo, settings::pathOf(SettingsDir, site::hostFile));
        const HostParameters parameters = readHostParameters(fileNo);
        const std::size_t libraries = readHostLibraries(fileNo, TabBib);
        files::close(fileNo);

        const std::u16string line = lineToSend(request, TabBib, libraries);
        std::u16string answer =
            isAnsweredHere(line, parameters.localKey) ? parameters.localAnswer : askHost(parameters, line);
        if (answer.empty())
            answer = parameters.emptyText;
        answer = withoutTabs(answer);

        Answer = text::trim(answer); // stored before the cut, which may fail
        const Int16 width = parameters.width - 2;
        if (std::ssize(Answer) > width)
            Answer.resize(text::left(Answer, width).size()); // 5 for a width below 2
        failed = false;
    } catch (...) {
        recordFailure(shortSource, u".Call7000");
    }
    files::closeAll();
    return failed;
}

} // namespace vqloan
