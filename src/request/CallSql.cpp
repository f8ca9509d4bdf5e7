#include <utility>

#include "component/CloseFileNo.h"
#include "component/DispSvr.h"
#include "component/RecordError.h"
#include "external/SysTools.h"
#include "platform/runtime/Text.h"
#include "platform/runtime/TextFiles.h"

// The exchange with the SQL gateway, in the exchange directory, for client number nnn (three digits at
// least):
//
//   ZSQL_nnn.CL1  request: "command,inventory number,library code" and CR LF; stays there
//   ZSQL_nnn.CL2  answer: its first line, a record; deleted as soon as it has been read. A TAB in front
//                 of it reports a failure of the gateway, the rest being the message

namespace vqloan {

namespace {

// The code of the message "no answer in time".
constexpr std::u16string_view timeOutMessage = u"9";

std::u16string atLeastThreeDigits(std::int32_t number)
{
    std::u16string digits = text::decimal(number);
    const std::size_t sign = number < 0 ? 1 : 0;
    if (digits.size() < sign + 3)
        digits.insert(sign, sign + 3 - digits.size(), u'0');
    return digits;
}

std::u16string exchangeFile(DispSvr& svr, std::u16string_view extension)
{
    std::u16string path = sysTools().DirSlash(svr.ExchPath);
    return path.append(u"ZSQL_").append(atLeastThreeDigits(svr.ClientId)).append(extension);
}

void writeRequest(std::int32_t fileNo, std::u16string_view path, std::u16string_view line)
{
    files::openForWriting(fileNo, path);
    files::writeLine(fileNo, line);
    files::close(fileNo);
}

std::int32_t onClock(std::int64_t milliseconds)
{
    if (!std::in_range<std::int32_t>(milliseconds))
        throw RuntimeError(Failure::Overflow);
    return static_cast<std::int32_t>(milliseconds);
}

// Both the wait and the moment it ends must fit the clock.
std::int32_t deadlineAfter(std::int32_t seconds)
{
    const std::int32_t now = sysTools().TickCount();
    return onClock(std::int64_t{now} + onClock(std::int64_t{seconds} * 1000));
}

// Takes the answer as soon as its file is there; false when the deadline has passed without one. A late
// answer to an earlier request cannot be told from the one that is waited for.
bool awaitAnswer(std::u16string& path, std::int32_t deadline, std::int32_t& fileNo, std::u16string& answer)
{
    do {
        if (sysTools().FileExists(path)) {
            fileNo = files::freeNumber();
            files::openForReading(fileNo, path);
            answer = files::readLine(fileNo);
            files::close(fileNo);
            files::remove(path);
            return true;
        }
    } while (sysTools().TickCount() <= deadline);
    return false;
}

} // namespace

bool DispSvr::CallSql(std::u16string_view Cmd, std::u16string_view Inv, std::u16string_view Bib,
                      std::u16string& Answer) noexcept
{
    bool failed = true;
    std::int32_t fileNo = 0;
    try {
        const std::u16string requestFile = exchangeFile(*this, u".CL1");
        std::u16string answerFile = exchangeFile(*this, u".CL2");

        std::u16string line(Cmd);
        line.append(u",").append(Inv).append(u",").append(Bib);
        fileNo = files::freeNumber();
        writeRequest(fileNo, requestFile, line);

        if (!awaitAnswer(answerFile, deadlineAfter(ClientTimeout), fileNo, Answer)) {
            Answer = Bib;
            Answer.append(u"\t").append(Find_Messa(timeOutMessage, TabMessa)).append(u" ");
        } else if (Answer.starts_with(u'\t')) {
            std::erase(Answer, u'\t');
            Answer.insert(0, 1, failureMarker);
        }
        failed = false;
    } catch (...) {
        recordFailure(shortSource, u".CallSql");
    }
    CloseFileNo(fileNo);
    return failed;
}

} // namespace vqloan
