// A question to the counterpart of an exchange, by the component's own operations.
#include <chrono>
#include <exception>
#include <optional>
#include <stdexcept>
#include <system_error>

#include "Turn.h"
#include "check/Checks.h"
#include "component/DispSvr.h"
#include "platform/runtime/OsFile.h"
#include "platform/runtime/RuntimeError.h"
#include "platform/runtime/Text.h"
#include "request/HostExchange.h"
#include "site/Exchange.h"
#include "site/Messages.h"
#include "site/Texts.h"

namespace fs = std::filesystem;

namespace vqloan::client {

namespace {

// Nobody who runs a command waits longer.
constexpr double longestWait = 60;

// A copy that no library has: that, too, is an answer.
constexpr std::u16string_view noInventory = u"000000";

// What nobody answers.
constexpr std::u16string_view silence = u"\u0001";

// The answer; nothing where none came in time. Throws std::runtime_error with what the component recorded.
std::optional<std::u16string> askGateway(DispSvr& svr)
{
    svr.TabMessa = {u"",
                    std::u16string(site::codeOf(site::Message::noAnswer)).append(site::tab).append(silence)};
    std::u16string answer;
    if (svr.CallSql(site::command, noInventory, u"00", answer))
        throw std::runtime_error(recordedFailure(svr).text());
    if (answer.find(silence) != answer.npos)
        return std::nullopt;
    return answer;
}

// The first library that the host is asked about; empty where there is none.
std::u16string libraryOfHost(const DispSvr& svr)
{
    for (const site::Library& library : svr.TabBib)
        if (!library.code.empty() && !library.name.empty() && library.group != svr.SkipCode)
            return library.code;
    return {};
}

std::optional<std::u16string> askHost(const ExchangeFiles& files, const std::u16string& library)
{
    const std::u16string name = std::u16string(files.directory).append(site::hostPrefix).append(files.client);
    const std::u16string request = std::u16string(site::commandStart).append(library).append(noInventory);
    try {
        return HostExchange(name + std::u16string(site::requestExtension),
                            name + std::u16string(site::answerExtension), files.waitLimit)
            .ask(request);
    } catch (const RuntimeError& error) {
        throw std::runtime_error(text::toUtf8(error.description));
    }
}

// Nobody is to take the request, or the host's answer, for that of a later question.
void removeFiles(const ExchangeFiles& files)
{
    const std::u16string_view prefix = files.kind == Kind::host ? site::hostPrefix : site::gatewayPrefix;
    const fs::path name = os::nativePath(files.directory) / (std::u16string(prefix) + files.client);
    std::error_code ignored;
    for (const std::u16string_view extension : {site::requestExtension, site::answerExtension})
        fs::remove(fs::path(name).concat(extension), ignored);
}

class Question
{
public:
    Question(const Site& site, const ExchangeFiles& files, bool isServed, Report& report)
        : site_(site), files_(files), isServed_(isServed), report_(report)
    {}

    void ask()
    {
        DispSvr svr;
        svr.SettingsDir = os::pathText(site_.directory());
        if (!(files_.waitLimit > 0) || svr.OpenDatabase(std::u16string(site::nameOf(files_.kind))))
            return; // told with the settings
        const std::u16string library = files_.kind == Kind::host ? libraryOfHost(svr) : u"";
        if (files_.kind == Kind::host && library.empty()) {
            fact(u"not asked: the host answers for no library");
            return;
        }
        if (files_.waitLimit > longestWait) {
            fact(u"not asked: clients wait longer than a minute");
            return;
        }
        try {
            const Turn turn(site_, files_.kind, std::chrono::seconds(2));
            exchange(svr, library);
        } catch (const std::exception& error) {
            fact(u"not asked: " + text::fromUtf8(error.what()));
        }
    }

private:
    void exchange(DispSvr& svr, const std::u16string& library)
    {
        using Clock = std::chrono::steady_clock;
        const Clock::time_point begun = Clock::now();
        std::optional<std::u16string> answer;
        try {
            answer = files_.kind == Kind::host ? askHost(files_, library) : askGateway(svr);
        } catch (const std::runtime_error& error) {
            found(u"A question fails: " + text::fromUtf8(error.what()),
                  u"docs/administration.md has the numbers.");
            return;
        }
        removeFiles(files_);
        const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begun);
        const std::u16string time = text::decimal(took.count()) + u" ms";
        if (!answer) {
            fact(u"NOBODY ANSWERS, within " + time);
            if (isServed_)
                found(u"Nobody answers a question, within " + time + u".",
                      files_.kind == Kind::host ? u"Start the host's end of the exchange."
                                                : u"Start the gateway, for example vqloan gateway.");
            return;
        }
        fact(u"answered after " + time);
        if (files_.kind == Kind::gateway && site::isFailure(*answer))
            found(u"The gateway answers with a failure: " + answer->substr(1), u"See the gateway's log.");
    }

    void fact(std::u16string what) { report_.fact({u"a question", std::move(what)}); }
    void found(std::u16string what, std::u16string advice)
    {
        report_.finding(files_.place, std::move(what), std::move(advice));
    }

    const Site& site_;
    const ExchangeFiles& files_;
    bool isServed_;
    Report& report_;
};

} // namespace

void checkAnswer(const Site& site, const ExchangeFiles& files, bool isServed, Report& report)
{
    Question(site, files, isServed, report).ask();
}

} // namespace vqloan::client
