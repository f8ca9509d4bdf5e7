#include "Exchange.h"

#include <algorithm>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "Log.h"
#include "platform/program/Paths.h"
#include "platform/program/Program.h"
#include "platform/runtime/OsFile.h"
#include "platform/runtime/RuntimeError.h"
#include "platform/runtime/Text.h"
#include "site/Exchange.h"

namespace fs = std::filesystem;

namespace vqloan::client {

namespace {

using namespace std::chrono_literals;

const std::string requestExtension = text::toUtf8(site::requestExtension);
const std::string answerExtension = text::toUtf8(site::answerExtension);

const std::string lockExtension = text::toUtf8(site::lockExtension);

// No request line is longer.
constexpr std::size_t longestLine = 1024 * 1024;

// What is taken off a client's wait: the time that it takes to look, and a system may stop a program between
// two of its steps.
std::chrono::milliseconds marginOf(std::chrono::milliseconds wait)
{
    return std::min(100ms, wait / 10);
}

// Not that of what a link leads to.
fs::file_type typeOf(const fs::path& file)
{
    std::error_code failed;
    return fs::symlink_status(file, failed).type();
}

// Writes a whole file, and gives the time of it by the directory's own clock.
std::int64_t writeFile(const fs::path& path, const std::string& bytes)
{
    try {
        os::File file(os::pathText(path), os::File::Mode::Write, os::Place::own);
        file.write(bytes);
        const std::int64_t written = file.state().modified;
        file.close(); // a full disk may be told here only
        return written;
    } catch (...) {
        std::error_code ignored;
        fs::remove(path, ignored);
        throw;
    }
}

bool isThere(const fs::path& file)
{
    const auto type = typeOf(file);
    return type != fs::file_type::not_found && type != fs::file_type::none;
}

} // namespace

Exchange::Exchange(fs::path directory, std::u16string_view prefix)
    : directory_(std::move(directory)), prefix_(text::toUtf8(prefix))
{
    if (!fs::is_directory(directory_))
        throw std::runtime_error("there is no exchange directory " + program::utf8Of(directory_));
    begin();
    clear();
}

Exchange::~Exchange()
{
    abandon();
}

void Exchange::begin()
{
    const fs::path file = directory_ / (prefix_ + lockExtension);
    lock_ = program::FileLock::tryTake(file);
    if (!lock_)
        throw std::runtime_error(name() + " is served already (" +
                                 printable(program::FileLock::holder(file)) + ")");
    own_ = program::makePrivateDirectory(directory_, "." + prefix_);
}

void Exchange::abandon() noexcept
{
    std::error_code ignored;
    if (!own_.empty())
        fs::remove_all(own_, ignored);
    own_.clear();
    lock_.reset();
}

// The directory may have been replaced by another of its name.
bool Exchange::isBegun() const
{
    return typeOf(own_) == fs::file_type::directory;
}

// What an earlier server left there, and what was meant for it.
void Exchange::clear() const
{
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(directory_)) {
        const std::string name = program::utf8Of(entry.path().filename());
        const bool left = name.starts_with("." + prefix_) && entry.path() != own_;
        const bool exchanged = name.starts_with(prefix_) &&
                               (name.ends_with(requestExtension) || name.ends_with(answerExtension));
        if (left)
            fs::remove_all(entry.path(), ignored);
        else if (exchanged && typeOf(entry.path()) != fs::file_type::directory)
            fs::remove(entry.path(), ignored);
    }
}

std::optional<std::string> Exchange::clientOf(std::string_view fileName) const
{
    if (!fileName.starts_with(prefix_) || !fileName.ends_with(requestExtension))
        return std::nullopt;
    fileName.remove_prefix(prefix_.size());
    if (fileName.size() < requestExtension.size())
        return std::nullopt;
    fileName.remove_suffix(requestExtension.size());
    return std::string(fileName);
}

std::vector<std::string> Exchange::waiting() const
{
    std::vector<std::pair<fs::file_time_type, std::string>> found;
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(directory_))
        if (auto client = clientOf(program::utf8Of(entry.path().filename())))
            found.emplace_back(entry.last_write_time(ignored), *std::move(client));
    std::ranges::sort(found);
    std::vector<std::string> clients;
    for (auto& [written, client] : found)
        clients.push_back(std::move(client));
    return clients;
}

std::optional<Exchange::Request> Exchange::take(const std::string& client)
{
    const fs::path there = fileOf(client, requestExtension);
    switch (typeOf(there)) {
    case fs::file_type::regular:
        break;
    case fs::file_type::not_found:
    case fs::file_type::none:
        return std::nullopt;
    case fs::file_type::directory:
        throw std::runtime_error(program::utf8Of(there) + " is a directory: its client cannot ask");
    default:
        fs::remove(there);
        throw std::runtime_error(program::utf8Of(there) + " was no regular file, and is removed");
    }

    const std::lock_guard lock(mutex_);
    if (!isBegun()) {
        abandon();
        begin();
    }
    const std::uint64_t number = ++lastNumber_;
    Request request{.client = client,
                    .number = number,
                    .file = own_ / (client + '-' + std::to_string(number)),
                    .taken = Clock::now(),
                    .asker = askerOf(client)};
    // The client's next request is a new file then, even while this one is being answered; and a client that
    // still writes goes on writing into the file that was moved.
    if (const std::error_code failed = program::rename(there, request.file)) {
        if (!isThere(there) || program::isInUse(failed))
            return std::nullopt;
        throw std::system_error(failed, program::utf8Of(there));
    }
    latest_[client] = number;
    removeAnswer(client);
    return request;
}

Exchange::Line Exchange::read(Request& request) const
{
    os::File file(os::pathText(request.file), os::File::Mode::Read, os::Place::shared);
    std::string bytes;
    for (std::size_t size = 4096; bytes.size() < longestLine; size = 64 * 1024) {
        const std::size_t before = bytes.size();
        bytes.resize(before + size);
        bytes.resize(before + file.read(bytes.data() + before, size));
        if (bytes.size() == before || bytes.find('\n', before) != bytes.npos)
            break;
    }
    request.written = file.state().modified;
    return {bytes.substr(0, bytes.find_first_of("\r\n")), bytes.find('\n') != bytes.npos};
}

Exchange::Placed Exchange::place(const Request& request, std::string_view line,
                                 std::chrono::milliseconds wait)
{
    struct Done
    {
        ~Done() { exchange.drop(request); }
        Exchange& exchange;
        const Request& request;
    } const done{*this, request};

    fs::path aside = request.file;
    aside += ".answer";
    // Both times are those of the directory's own machine, which counts from when the client wrote.
    const std::chrono::nanoseconds byFiles(writeFile(aside, std::string(line) + "\r\n") - request.written);

    const std::lock_guard lock(mutex_);
    const auto before = Clock::now();
    const auto margin = marginOf(wait);
    Placed placed = Placed::answered;
    if (!isLatest(request) || isThere(fileOf(request.client, requestExtension)))
        placed = Placed::askedAgain;
    else if (request.asker && request.asker != askerOf(request.client))
        placed = Placed::gone;
    else if (std::max<Clock::duration>(byFiles, before - request.taken) > wait - margin)
        placed = Placed::tooLate;
    const fs::path answer = fileOf(request.client, answerExtension);
    const std::error_code failed =
        placed == Placed::answered ? program::rename(aside, answer) : std::error_code();
    if (failed || placed != Placed::answered) {
        std::error_code ignored;
        fs::remove(aside, ignored);
    }
    if (failed)
        throw std::system_error(failed, program::utf8Of(answer));
    if (placed != Placed::answered)
        return placed;
    if (Clock::now() - before <= margin)
        return Placed::answered;
    removeAnswer(request.client); // it took too long to put it there
    return Placed::tooLate;
}

void Exchange::drop(const Request& request) noexcept
{
    std::error_code ignored;
    fs::remove(request.file, ignored);
    const std::lock_guard lock(mutex_);
    if (isLatest(request))
        latest_.erase(request.client);
}

std::optional<os::FileState> Exchange::askerOf(const std::string& client) const
{
    try {
        return os::stateOf(os::pathText(fileOf(client, lockExtension)));
    } catch (const RuntimeError&) {
        return std::nullopt;
    }
}

bool Exchange::isLatest(const Request& request) const
{
    const auto found = latest_.find(request.client);
    return found != latest_.end() && found->second == request.number;
}

// An answer to an earlier request: the client would take it for that of its next one.
void Exchange::removeAnswer(const std::string& client) const
{
    const fs::path file = fileOf(client, answerExtension);
    std::error_code failed;
    if (isThere(file) && typeOf(file) != fs::file_type::directory)
        fs::remove(file, failed);
}

std::string Exchange::name() const
{
    return program::utf8Of(directory_ / (prefix_ + "*")).append(requestExtension);
}

fs::path Exchange::fileOf(const std::string& client, std::string_view extension) const
{
    return directory_ / (prefix_ + client).append(extension);
}

} // namespace vqloan::client
