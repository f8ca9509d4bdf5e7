#include "component/CloseFileNo.h"
#include "component/DispSvr.h"
#include "component/RecordError.h"
#include "external/SysTools.h"
#include "platform/runtime/TextFiles.h"
#include "request/Deadline.h"
#include "site/Exchange.h"
#include "site/Messages.h"

// The exchange with the SQL gateway. The request file stays where it is; the answer file is deleted as soon
// as it has been read.

namespace vqloan {

namespace {

std::u16string exchangeFile(DispSvr& svr, std::u16string_view extension)
{
    return sysTools().DirSlash(svr.ExchPath) + site::gatewayFile(svr.ClientId, extension);
}

void writeRequest(std::int32_t fileNo, std::u16string_view path, std::u16string_view line)
{
    files::openForWriting(fileNo, path, files::Place::shared);
    files::writeLine(fileNo, line);
    files::close(fileNo);
}

// Takes the answer as soon as its file is there; false when none came before the deadline. A file that an
// earlier request's answer has left there is taken as well: nothing tells the two apart. `isThere` stays set
// when taking it fails.
bool awaitAnswer(std::u16string& path, std::int32_t deadline, std::int32_t& fileNo, std::u16string& answer,
                 bool& isThere)
{
    do {
        if (sysTools().FileExists(path)) {
            isThere = true;
            fileNo = files::freeNumber();
            files::openForReading(fileNo, path, files::Place::shared);
            answer = files::readLine(fileNo);
            files::close(fileNo);
            files::remove(path);
            isThere = false;
            return true;
        }
    } while (sysTools().TickCount() <= deadline);
    return false;
}

// An answer that could not be taken must not be taken for that of the next question.
void drop(std::u16string_view answerFile) noexcept
{
    try {
        files::remove(answerFile);
    } catch (...) { // what could be done has been
    }
}

} // namespace

bool DispSvr::CallSql(std::u16string_view Cmd, std::u16string_view Inv, std::u16string_view Bib,
                      std::u16string& Answer) noexcept
{
    bool failed = true;
    std::int32_t fileNo = 0;
    std::u16string answerFile;
    bool isThere = false;
    try {
        const std::u16string requestFile = exchangeFile(*this, site::requestExtension);
        answerFile = exchangeFile(*this, site::answerExtension);

        fileNo = files::freeNumber();
        writeRequest(fileNo, requestFile, site::requestLine(Cmd, Inv, Bib));

        if (!awaitAnswer(answerFile, deadlineAfter(ClientTimeout), fileNo, Answer, isThere)) {
            Answer = Bib;
            const auto noAnswer = Find_Messa(site::codeOf(site::Message::noAnswer), TabMessa);
            Answer.append(site::tab).append(noAnswer).append(u" ");
        } else if (Answer.starts_with(site::gatewayFailureMark)) {
            std::erase(Answer, site::gatewayFailureMark);
            Answer.insert(0, 1, site::failureMarker);
        }
        failed = false;
    } catch (...) {
        recordFailure(shortSource, u".CallSql");
    }
    CloseFileNo(fileNo);
    if (isThere)
        drop(answerFile);
    return failed;
}

} // namespace vqloan
