#include "Turn.h"

#include <stdexcept>
#include <system_error>
#include <thread>

#include "Log.h"
#include "Parameters.h"
#include "component/DispSvr.h"
#include "platform/program/Paths.h"
#include "platform/program/Program.h"
#include "platform/runtime/OsFile.h"
#include "platform/runtime/Text.h"
#include "site/Exchange.h"

namespace fs = std::filesystem;

namespace vqloan::client {

namespace {

// The path of the number's files without their extension; empty where there is none.
fs::path filesOf(const Site& site, site::Kind kind)
{
    if (kind == site::Kind::host) {
        const Parameters parameters(site);
        const std::u16string number =
            site::hostClient(text::trim(parameters.value(site::Line::clientNumber)));
        return parameters.value(site::Line::directory).append(site::hostPrefix).append(number);
    }
    // By the component's own rules.
    DispSvr settings;
    settings.SettingsDir = os::pathText(site.directory());
    if (kind != site::Kind::gateway || settings.OpenDatabase(site::nameOf(kind)))
        return {};
    return fs::path(settings.ExchPath.empty() ? u"." : settings.ExchPath) /
           site::gatewayFile(settings.ClientId, u"");
}

// Nothing while another one has it, and when it cannot be taken: `why` says so then.
std::optional<program::FileLock> tryTake(const fs::path& file, std::string& why)
{
    try {
        why.clear();
        return program::FileLock::tryTake(file);
    } catch (const std::system_error& error) {
        why = error.what();
        return std::nullopt;
    }
}

fs::path with(const fs::path& files, std::u16string_view extension)
{
    return fs::path(files) += extension;
}

} // namespace

Turn::Turn(const Site& site, site::Kind kind, std::chrono::seconds limit)
{
    const fs::path files = filesOf(site, kind);
    std::error_code ignored;
    if (files.empty() || !fs::is_directory(files.parent_path(), ignored))
        return;
    const fs::path lock = with(files, site::lockExtension), request = with(files, site::requestExtension),
                   answer = with(files, site::answerExtension);
    const auto deadline = std::chrono::steady_clock::now() + limit;
    std::string why;
    while (!(lock_ = tryTake(lock, why)) && fs::exists(lock, ignored)) {
        if (std::chrono::steady_clock::now() > deadline)
            throw std::runtime_error(why.empty() ? "another client asks with the number of " +
                                                       program::utf8Of(request) + ": " +
                                                       printable(program::FileLock::holder(lock))
                                                 : "the lock of this client number cannot be taken: " + why);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    if (!lock_)
        return;
    if (fs::is_regular_file(fs::symlink_status(answer, ignored)))
        fs::remove(answer, ignored);
    files_ = {request, answer, lock};
    program::removeWhenEnded(files_);
}

} // namespace vqloan::client
