#include "Exchange.h"

#include <csignal>
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <system_error>
#include <thread>

#include "platform/runtime/Text.h"
#include "site/Exchange.h"

namespace fs = std::filesystem;

namespace vqloan::client {

namespace {

const std::string requestExtension = text::toUtf8(site::requestExtension);
const std::string answerExtension = text::toUtf8(site::answerExtension);
const std::string takenExtension = ".taken";
const std::string asideExtension = ".aside";

// Between two looks at the directory. Clients wait without a pause, so this is most of what an answer takes.
constexpr std::chrono::milliseconds pause{1};
// How long a request may stay without its line end, or an answer may be kept from its place.
constexpr std::chrono::seconds patience{1};

volatile std::sig_atomic_t toldToEnd = 0;

void endOnSignals()
{
    const auto tell = [](int) { toldToEnd = 1; };
    std::signal(SIGTERM, tell);
    std::signal(SIGINT, tell);
}

std::string firstLine(const std::string& bytes)
{
    return bytes.substr(0, bytes.find_first_of("\r\n"));
}

} // namespace

Exchange::Exchange(fs::path directory, std::u16string_view prefix, std::chrono::milliseconds delay)
    : directory_(std::move(directory)), prefix_(text::toUtf8(prefix)), delay_(delay)
{
    if (!fs::is_directory(directory_))
        throw std::runtime_error("there is no exchange directory " + directory_.string());
}

void Exchange::serve(const Answerer& answerer, bool verbose)
{
    endOnSignals();
    takeRequests();
    for (const auto& [client, since] : taken_)
        fs::remove(fileOf(client, takenExtension));
    taken_.clear();
    std::cout << "Serving " << (directory_ / (prefix_ + "*" + requestExtension)).string() << std::endl;
    while (!toldToEnd) {
        takeRequests();
        answerTaken(answerer, verbose);
        std::this_thread::sleep_for(pause);
    }
    std::cout << "Answered " << answered_ << " requests" << std::endl;
}

// Renaming a request is what takes it: the client's next one is a new file then, even while this one is being
// answered, and a client that still writes goes on writing into the renamed file.
void Exchange::takeRequests()
{
    std::error_code failed;
    for (const auto& entry : fs::directory_iterator(directory_, failed)) {
        const std::string name = entry.path().filename().string();
        if (!name.starts_with(prefix_) || !name.ends_with(requestExtension))
            continue;
        const std::string client =
            name.substr(prefix_.size(), name.size() - prefix_.size() - requestExtension.size());
        fs::rename(entry.path(), fileOf(client, takenExtension), failed);
        if (!failed)
            taken_[client] = Clock::now();
        else
            complain(entry.path(), failed);
    }
    if (failed)
        complain(directory_, failed);
}

void Exchange::answerTaken(const Answerer& answerer, bool verbose)
{
    for (auto it = taken_.begin(); it != taken_.end();) {
        const auto& [client, since] = *it;
        bool done = false;
        try {
            done = answerOne(client, since, answerer, verbose);
        } catch (const std::exception& error) {
            complain(error.what());
            done = Clock::now() - since > patience + delay_;
        }
        it = done ? taken_.erase(it) : std::next(it);
    }
}

// False when it is to be tried again: the line is not whole yet, or it is too early.
bool Exchange::answerOne(const std::string& client, Clock::time_point taken, const Answerer& answerer,
                         bool verbose)
{
    const auto age = Clock::now() - taken;
    if (age < delay_)
        return false;
    std::ifstream in(fileOf(client, takenExtension), std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(in), {}};
    in.close();
    const bool whole = bytes.find('\n') != bytes.npos;
    if (!whole && age < delay_ + patience)
        return false;

    const std::string request = firstLine(bytes);
    const std::string answer = text::toCodePage(answerer(text::fromCodePage(request), whole));
    const fs::path aside = fileOf(client, asideExtension);
    std::ofstream out(aside, std::ios::binary | std::ios::trunc);
    out << answer << "\r\n";
    out.close();
    if (!out) {
        std::error_code ignored;
        fs::remove(aside, ignored);
        throw std::runtime_error("cannot write " + aside.string());
    }
    fs::rename(aside, fileOf(client, answerExtension));
    fs::remove(fileOf(client, takenExtension));
    ++answered_;
    if (verbose)
        std::cout << client << ": " << text::toUtf8(text::fromCodePage(request)) << " -> "
                  << text::toUtf8(text::fromCodePage(answer)) << std::endl;
    return true;
}

void Exchange::complain(const fs::path& file, std::error_code reason)
{
    complain(file.string() + ": " + reason.message());
}

// The same trouble comes back at every look; once is enough.
void Exchange::complain(const std::string& trouble)
{
    if (trouble != lastTrouble_)
        std::cerr << "vqloan: " << trouble << std::endl;
    lastTrouble_ = trouble;
}

fs::path Exchange::fileOf(const std::string& client, const std::string& extension) const
{
    return directory_ / (prefix_ + client + extension);
}

} // namespace vqloan::client
