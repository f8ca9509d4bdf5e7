// What the database servers of the tests have in common: a server listens on a loopback port, keeps its files
// in a scratch directory, and is gone with its object.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <pwd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

#include "ScratchDirectory.h"

namespace vqloan::test {

// A port of the loopback interface that takes connections and never says a word.
class SilentPort
{
public:
    SilentPort()
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        bind(listener_, reinterpret_cast<sockaddr*>(&address), size);
        listen(listener_, 5);
        getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size);
        number_ = ntohs(address.sin_port);
    }
    ~SilentPort() { close(listener_); }
    SilentPort(const SilentPort&) = delete;
    SilentPort& operator=(const SilentPort&) = delete;

    int number() const { return number_; }

private:
    int listener_ = socket(AF_INET, SOCK_STREAM, 0), number_ = 0;
};

// One that nobody listens on.
inline int freePort()
{
    return SilentPort().number();
}

inline bool hasOdbcDriver(const std::string& name)
{
    return WITH_ODBC && read("/etc/odbcinst.ini").find("[" + name + "]") != std::string::npos;
}

class ServerProcess
{
public:
    static constexpr const char* reader = "lettore"; // may read the tables and nothing else
    static constexpr const char* readersPassword = "a;b}c d";

    ServerProcess(const ServerProcess&) = delete;
    ServerProcess& operator=(const ServerProcess&) = delete;

    // Ends all sessions and the server.
    void stop(int signal = SIGTERM)
    {
        if (!process_)
            return;
        kill(std::stoi(read(processFile_)), signal);
        pclose(std::exchange(process_, nullptr)); // waits for it
    }
    int port() const { return port_; }
    // Without a user; as a reader.
    std::string connectionText() const { return connectionText(driver_); }
    std::string connectionText(const std::string& driver) const
    {
        return "Driver={" + driver + "};Server=127.0.0.1;Port=" + std::to_string(port_) +
               ";Database=" + database_;
    }
    std::string readersConnectionText() const { return connectionText() + ";UID=lettore;PWD={a;b}}c d}"; }

protected:
    // Why no server can run here as that user; empty when it can.
    static std::string whyNot(const char* product, const std::filesystem::path& program, const char* driver,
                              const char* user)
    {
        if (!std::filesystem::exists(program))
            return std::string(product) + " is not installed";
        if (!hasOdbcDriver(driver))
            return std::string(product) + "'s ODBC driver is not installed";
        if (geteuid() == 0 && !getpwnam(user))
            return "the server refuses to run as root, and there is no user " + std::string(user);
        return {};
    }

    // `user`: whom the server runs as where the tests run as root. `processFile`: where it writes its number.
    ServerProcess(const std::string& user, const std::string& processFile, const std::string& driver,
                  const std::string& database)
        : user_(user), driver_(driver), database_(database), processFile_(directory_ / processFile)
    {
        if (geteuid() == 0 && std::system(("chown " + user + " " + directory_.path().string()).c_str()) != 0)
            throw std::runtime_error("cannot give the server its directory");
    }
    ~ServerProcess() { stop(SIGKILL); }

    void begin(const std::string& server, const std::string& readiness)
    {
        process_ = popen(("exec " + line(server)).c_str(), "w");
        for (int tries = 0; tries < 600; ++tries) {
            if (succeeds(readiness))
                return;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        throw std::runtime_error("the server does not start: " + read(log_));
    }
    void run(const std::string& command) const
    {
        if (!succeeds(command))
            throw std::runtime_error(command + " fails: " + read(log_));
    }
    // By the server's own client, which reads statements from its input.
    void execute(const std::string& client, const std::string& statements) const
    {
        // In a file that the shell opens: the server's user may not be allowed to.
        const ScratchDirectory own;
        write(own / "statements.sql", statements);
        run(client + " <" + (own / "statements.sql").string());
    }

    ScratchDirectory directory_;

private:
    // The shell's line for one of the server's programs: as a user that it runs for, and not beyond the
    // tests' end, in whatever way they end.
    std::string line(const std::string& command) const
    {
        return "setpriv --pdeathsig QUIT " +
               std::string(geteuid() == 0 ? "--reuid=" + user_ + " --regid=" + user_ + " --clear-groups "
                                          : "") +
               command + " >>" + log_.string() + " 2>&1";
    }
    bool succeeds(const std::string& command) const { return std::system(line(command).c_str()) == 0; }

    std::string user_, driver_, database_;
    std::filesystem::path processFile_, log_ = directory_ / "server.log";
    int port_ = freePort();
    FILE* process_ = nullptr;
};

} // namespace vqloan::test
