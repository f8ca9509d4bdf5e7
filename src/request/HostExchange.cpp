#include "request/HostExchange.h"

#include <utility>

#include "platform/runtime/Clock.h"
#include "platform/runtime/OsFile.h"
#include "platform/runtime/PendingEvents.h"
#include "platform/runtime/PerThread.h"
#include "platform/runtime/RuntimeError.h"
#include "platform/runtime/TextFiles.h"

namespace vqloan {

namespace {

constexpr std::int32_t fileNo = 1;

// The directory's part of a path, never empty, and the file's.
std::pair<std::u16string, std::u16string_view> parted(std::u16string_view path)
{
    const auto begin = path.find_last_of(os::separators()) + 1; // 0 without a separator
    return {begin == 0 ? u"." : std::u16string(path.substr(0, begin)), path.substr(begin)};
}

bool isSameFile(std::u16string_view path, std::u16string_view other)
{
    try {
        const auto state = os::stateOf(path), otherState = os::stateOf(other);
        return state && otherState && state->isSameFile(*otherState);
    } catch (const RuntimeError&) { // a file cannot be written in one that cannot be asked about
        return false;
    }
}

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
    // By number: calls that enter meanwhile join the list, and leave it.
    for (std::size_t i = 0; i < waiting_.size(); ++i)
        if (usesFilesOf(*waiting_[i]))
            waiting_[i]->waitOn();
    send(line);
    start_ = clock::seconds();
    waiting_.push_back(this);
    waitOn();
    return std::move(answer_);
}

void HostExchange::send(std::u16string_view line)
{
    try {
        files::remove(answerFile_); // an answer to an earlier request must not be taken for this one's
    } catch (const RuntimeError&) { // normally there is none
    }
    files::openForWriting(fileNo, requestFile_, files::Place::shared);
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

void HostExchange::waitOn()
{
    while (!over())
        if (look() == Look::notThere)
            runPendingEvents();
}

// One directory may have several names.
bool HostExchange::usesFilesOf(const HostExchange& other) const
{
    const auto [directory, name] = parted(requestFile_);
    const auto [otherDirectory, otherName] = parted(other.requestFile_);
    return name == otherName && (directory == otherDirectory || isSameFile(directory, otherDirectory));
}

} // namespace vqloan
