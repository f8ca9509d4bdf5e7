// An exchange directory: whether files can be made there, who else may, and what lies there that should not.
#include <system_error>

#include "check/Checks.h"
#include "platform/program/Account.h"
#include "platform/program/FileLock.h"
#include "platform/program/Program.h"
#include "platform/runtime/OsFile.h"
#include "platform/runtime/RuntimeError.h"
#include "platform/runtime/Text.h"
#include "site/Exchange.h"

namespace fs = std::filesystem;

namespace vqloan::client {

namespace {

using namespace std::chrono_literals;

// A client that still waits for an answer of that age has been forgotten.
constexpr auto forgotten = 10min;

class DirectoryCheck
{
public:
    DirectoryCheck(const ExchangeFiles& files, Report& report)
        : files_(files), directory_(os::nativePath(files.directory)),
          prefix_(files.kind == Kind::gateway ? site::gatewayPrefix : site::hostPrefix), report_(report)
    {}

    bool run()
    {
        report_.section(u"Exchange of kind " + std::u16string(site::nameOf(files_.kind)),
                        {u"What", u"State"});
        report_.fact({u"directory", files_.directory});
        if (!isThere() || !canMakeFiles())
            return false;
        report_.fact(
            {u"files of this client", prefix_ + files_.client + std::u16string(site::requestExtension)});
        sharing();
        leftByServer();
        leftByOthers();
        return ownFiles();
    }

private:
    bool isThere()
    {
        if (files_.directory.empty()) {
            found(u"It names no exchange directory: every question fails.",
                  u"Write the directory's full name.");
            return false;
        }
        if (directory_.is_relative())
            found(inQuotes(files_.directory) + u" is seen from where each client was started.",
                  u"Write the directory's full name.");
        std::error_code failed;
        const fs::file_status status = fs::status(directory_, failed);
        if (fs::is_directory(status))
            return true;
        if (status.type() == fs::file_type::not_found)
            found(u"There is no directory " + files_.directory + u".", u"Create it, or correct its name.");
        else if (failed)
            found(refused(u"look at ", failed), u"Let the accounts of clients and server in.");
        else
            found(files_.directory + u" is no directory.", u"Correct its name.");
        return false;
    }

    // Within a directory of a name that nobody can foresee, so that nothing of a stranger's is overwritten.
    bool canMakeFiles()
    {
        fs::path made;
        std::error_code failed;
        try {
            made = program::makePrivateDirectory(directory_, ".vqloan-check-");
            os::File probe(os::pathText(made / "probe"), os::File::Mode::Write, os::Place::own);
            probe.write("probe");
            probe.close();
        } catch (const std::system_error& error) {
            failed = error.code();
        } catch (const RuntimeError& error) {
            failed.assign(error.lastDllError, std::system_category());
        }
        std::error_code ignored;
        if (!made.empty())
            fs::remove_all(made, ignored);
        if (failed)
            found(refused(u"make files in ", failed), u"Let the accounts of clients and server write there.");
        return !failed;
    }

    // Each of the two must be able to read and to delete what the other one makes, and nobody else should.
    void sharing()
    {
        const auto sharing = program::sharingOf(directory_);
        if (!sharing)
            return;
        if (sharing->byEverybody)
            found(u"Every account may make files there, and so answer in the server's place.",
                  u"Give it to a group of clients and server: chgrp GROUP, chmod 2770.");
        if (sharing->onlyOwn && (sharing->byGroup || sharing->byEverybody))
            found(u"Each account may delete only its own files there: an answer stays, and is taken for the "
                  u"next one.",
                  u"chmod -t, with a group of clients and server.");
        if (sharing->byGroup && sharing->filesLeave)
            found(u"Files that this account makes there are not of the directory's group, which may not read "
                  u"them.",
                  u"chmod g+s");
        if (sharing->byGroup && !sharing->groupReads)
            found(u"By this account's umask, the directory's group may not read the files that it makes.",
                  u"Run clients and server with umask 0007 or 0027.");
    }

    void leftByServer()
    {
        const fs::path lock = directory_ / (prefix_ + std::u16string(site::lockExtension));
        isServed_ = program::FileLock::isHeld(lock);
        report_.fact(
            {u"served by", isServed_ ? text::fromUtf8(program::FileLock::holder(lock)) : u"no vqloan"});
    }

    void leftByOthers()
    {
        const std::string prefix = text::toUtf8(prefix_), own = text::toUtf8(prefix_ + files_.client) + ".";
        const std::string answers = text::toUtf8(site::answerExtension);
        std::size_t count = 0;
        std::string left, answer;
        std::error_code failed;
        const auto now = fs::file_time_type::clock::now();
        for (fs::directory_iterator each(directory_, failed), end; !failed && each != end;
             each.increment(failed)) {
            const std::string name = text::toUtf8(os::pathText(each->path().filename()));
            std::error_code unknown;
            const auto written = fs::last_write_time(each->path(), unknown);
            if (name.starts_with("." + prefix) && !isServed_)
                left = name;
            // The host's answers stay until the next question.
            else if (files_.kind == Kind::gateway && name.starts_with(prefix) && name.ends_with(answers) &&
                     !name.starts_with(own) && !unknown && now - written > forgotten && ++count == 1)
                answer = name;
        }
        if (!left.empty())
            found(u"A server that was killed has left " + text::fromUtf8(left) + u" there.",
                  u"Start one again: it removes that.");
        if (count > 0)
            found(decimal(count) + (count == 1 ? u" answer lies" : u" answers lie") +
                      u" there that nobody has taken, such as " + text::fromUtf8(answer) + u".",
                  u"Delete what no client waits for: its next question would take it as its answer.");
    }

    // What stands in the place of this client's own files.
    bool ownFiles()
    {
        const fs::path own = directory_ / (prefix_ + files_.client);
        const auto with = [&](std::u16string_view extension) { return fs::path(own).concat(extension); };
        if (program::FileLock::isHeld(with(site::lockExtension)))
            return true; // they are in use
        bool asks = true;
        for (const std::u16string_view extension : {site::requestExtension, site::answerExtension}) {
            const fs::path file = with(extension);
            std::error_code failed;
            const fs::file_type type = fs::symlink_status(file, failed).type();
            if (type == fs::file_type::not_found)
                continue;
            if (type != fs::file_type::regular) {
                found(os::pathText(file.filename()) + u" there is no plain file: every question fails.",
                      u"Delete it.");
                asks = false;
            } else if (extension == site::requestExtension && !program::mayWrite(file)) {
                found(u"This account may not write " + os::pathText(file.filename()) +
                          u": every question fails.",
                      u"Delete it, and give each client a number of its own.");
                asks = false;
            } else if (extension == site::answerExtension && files_.kind == Kind::gateway) {
                found(u"The answer " + os::pathText(file.filename()) +
                          u" lies there, of an earlier question.",
                      u"Delete it: the next question would take it as its answer.");
            }
        }
        return asks;
    }

    std::u16string refused(std::u16string_view what, std::error_code error) const
    {
        return joined({u"The account ", text::fromUtf8(program::accountName()), u" cannot ", what,
                       files_.directory, u": ", reasonOf(error.value()), u"."});
    }

    void found(std::u16string what, std::u16string advice)
    {
        report_.finding(files_.place, std::move(what), std::move(advice));
    }

    const ExchangeFiles& files_;
    const fs::path directory_;
    const std::u16string prefix_;
    Report& report_;
    bool isServed_ = false;
};

} // namespace

bool checkExchange(const ExchangeFiles& files, Report& report)
{
    return DirectoryCheck(files, report).run();
}

} // namespace vqloan::client
