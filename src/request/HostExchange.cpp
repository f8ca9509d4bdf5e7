#include "request/HostExchange.h"

#include <utility>

#include "platform/runtime/Clock.h"
#include "platform/runtime/PendingEvents.h"
#include "platform/runtime/PerThread.h"
#include "platform/runtime/RuntimeError.h"
#include "platform/runtime/TextFiles.h"

namespace vqloan {

namespace {

constexpr std::int32_t fileNo = 1;

} // namespace

HostExchange::HostExchange(std::u16string requestFile, std::u16string answerFile, double limit)
    : waiting_(perThread<Waiting>()), requestFile_(std::move(requestFile)),
      answerFile_(std::move(answerFile)), limit_(limit)
{}

HostExchange::~HostExchange()
{
    std::erase(waiting_, this);
}

std::optional<std::u16string> HostExchange::ask(std::u16string_view line)
{
    for (HostExchange* earlier : waiting_)
        if (earlier->requestFile_ == requestFile_)
            earlier->seeThrough();
    send(line);
    start_ = clock::seconds();
    waiting_.push_back(this);
    while (!over())
        if (look() == Look::notThere)
            runPendingEvents();
    return std::move(answer_);
}

void HostExchange::send(std::u16string_view line)
{
    try {
        files::remove(answerFile_); // an answer to an earlier request must not be taken for this one's
    } catch (const RuntimeError&) { // normally there is none
    }
    files::openForWriting(fileNo, requestFile_);
    files::writeLine(fileNo, line);
    files::close(fileNo);
}

HostExchange::Look HostExchange::look()
{
    if (!files::tryOpenForReading(fileNo, answerFile_))
        return Look::notThere;
    Look found = Look::answered;
    try {
        answer_ = files::readLine(fileNo);
    } catch (const RuntimeError&) {
        found = Look::noLineYet;
    }
    files::close(fileNo);
    return found;
}

bool HostExchange::over() const
{
    return answer_ || clock::seconds() - start_ > limit_;
}

void HostExchange::seeThrough()
{
    while (!over())
        look();
}

} // namespace vqloan
