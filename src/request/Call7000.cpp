#include "component/DispSvr.h"
#include "component/RecordError.h"
#include "config/SettingsFiles.h"
#include "platform/runtime/Text.h"
#include "platform/runtime/TextFiles.h"
#include "request/HostExchange.h"
#include "request/HostParameters.h"

// The exchange with the legacy host, in the directory that CLIENT.PAR names, for the two-character client
// number nn:
//
//   Z7000_nn.CL1  request: "WL,", library code, inventory number, CR LF, nothing in between; stays there
//   Z7000_nn.CL2  answer: its first line; stays there until the next request

namespace vqloan {

namespace {

constexpr std::int32_t fileNo = 1;
constexpr std::u16string_view command = u"WL,";

// "WL,inventory,library" as the line to send. The library code goes through the first `rows` rows of the
// table: a group code is replaced by that row's library code, and the rows after it are tried with the new
// code.
std::u16string lineToSend(std::u16string_view request, const LibraryTable& table, std::int32_t rows)
{
    std::u16string line(request);
    const auto comma = request.find(u',', command.size());
    if (request.starts_with(command) && comma != std::u16string_view::npos) {
        std::u16string library(request.substr(comma + 1));
        for (std::int32_t row = 1; row <= rows; ++row) {
            const auto& fields = table[static_cast<std::size_t>(row)];
            if (fields[2] == library)
                library = fields[1];
        }
        line.assign(command).append(library);
        line.append(request.substr(command.size(), comma - command.size()));
    }
    return std::u16string(text::trim(line));
}

bool isAnsweredHere(std::u16string_view line, std::u16string_view localKey)
{
    return line.find(std::u16string(command).append(localKey)) != std::u16string_view::npos;
}

std::u16string askHost(const HostParameters& parameters, std::u16string_view line)
{
    const std::u16string name = parameters.directory + u"Z7000_" + parameters.clientNumber;
    HostExchange exchange(name + u".CL1", name + u".CL2", parameters.waitLimit);
    return exchange.ask(line).value_or(parameters.timeOutText);
}

// Each TAB becomes three blanks, in place of the blanks in front of it.
std::u16string withoutTabs(std::u16string_view answer)
{
    std::u16string line;
    line.reserve(answer.size());
    for (const char16_t unit : answer) {
        if (unit != u'\t') {
            line += unit;
            continue;
        }
        [[maybe_unused]] const Int16 position = line.size() + 1; // 6 when the TAB is out of reach
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

        files::openForReading(fileNo, settings::pathOf(settings::hostFileName));
        const HostParameters parameters = readHostParameters(fileNo);
        const std::int32_t libraries = readHostLibraries(fileNo, TabBib);
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
