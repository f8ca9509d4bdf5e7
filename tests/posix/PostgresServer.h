// A PostgreSQL server of the tests' own: on a loopback port, in a scratch directory, gone with the object.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <pwd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
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

class PostgresServer
{
public:
    static constexpr const char* reader = "lettore"; // may read the tables and nothing else
    static constexpr const char* readersPassword = "a;b}c d";

    // Why there can be none here; empty when there can.
    static std::string whyNot()
    {
        if (programs().empty())
            return "PostgreSQL is not installed";
        if (!hasOdbcDriver("PostgreSQL Unicode"))
            return "PostgreSQL's ODBC driver is not installed";
        if (geteuid() == 0 && !getpwnam("postgres"))
            return "the server refuses to run as root, and there is no user postgres";
        return {};
    }

    PostgresServer()
    {
        if (geteuid() == 0 && std::system(("chown postgres " + directory_.path().string()).c_str()) != 0)
            throw std::runtime_error("cannot give the server its directory");
        run("initdb -U postgres --auth=trust --encoding=UTF8 --locale=C --no-sync -D " + data_.string());
        write(data_ / "pg_hba.conf",
              "host all postgres 127.0.0.1/32 trust\nhost all all 127.0.0.1/32 scram-sha-256\n");
        start();
        execute(std::string("CREATE ROLE ") + reader + " LOGIN PASSWORD '" + readersPassword +
                "'; ALTER DEFAULT PRIVILEGES IN SCHEMA public GRANT SELECT ON TABLES TO " + reader);
    }
    ~PostgresServer()
    {
        if (process_)
            stop(SIGQUIT);
    }
    PostgresServer(const PostgresServer&) = delete;
    PostgresServer& operator=(const PostgresServer&) = delete;

    void start()
    {
        const std::string server = "postgres -c listen_addresses=127.0.0.1 -c unix_socket_directories= "
                                   "-c fsync=off -p " +
                                   std::to_string(port_) + " -D " + data_.string();
        process_ = popen(("exec " + line(server)).c_str(), "w");
        for (int tries = 0; tries < 600; ++tries) {
            if (succeeds("pg_isready -h 127.0.0.1 -p " + std::to_string(port_)))
                return;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        throw std::runtime_error("PostgreSQL does not start: " + read(log_));
    }
    // Ends all sessions and the server.
    void stop(int signal = SIGINT)
    {
        kill(std::stoi(read(data_ / "postmaster.pid")), signal);
        pclose(std::exchange(process_, nullptr)); // waits for it
    }

    void execute(const std::string& statements) const
    {
        write(directory_ / "statements.sql", statements);
        // Opened by the shell: the server's user may not be allowed to.
        run("psql -X -q -h 127.0.0.1 -p " + std::to_string(port_) + " -U postgres -v ON_ERROR_STOP=1 <" +
            (directory_ / "statements.sql").string());
    }
    void endSessions() const
    {
        execute("SELECT pg_terminate_backend(pid) FROM pg_stat_activity "
                "WHERE backend_type = 'client backend' AND pid <> pg_backend_pid()");
    }

    // Without a user.
    std::string connectionText(const std::string& driver = "PostgreSQL Unicode") const
    {
        return "Driver={" + driver + "};Server=127.0.0.1;Port=" + std::to_string(port_) +
               ";Database=postgres";
    }
    std::string readersConnectionText() const
    {
        return connectionText() + ";UID=" + reader + ";PWD={a;b}}c d}";
    }
    int port() const { return port_; }

private:
    static std::filesystem::path programs()
    {
        std::filesystem::path newest;
        std::error_code none;
        for (const auto& version : std::filesystem::directory_iterator("/usr/lib/postgresql", none))
            if (std::filesystem::exists(version.path() / "bin" / "initdb"))
                newest = std::max(newest, version.path() / "bin");
        return newest;
    }

    // The shell's line for one of the server's programs: as a user that it runs for, and not beyond the
    // tests' end, in whatever way they end.
    std::string line(const std::string& command) const
    {
        return "setpriv --pdeathsig QUIT " +
               std::string(geteuid() == 0 ? "--reuid=postgres --regid=postgres --clear-groups " : "") +
               (programs() / command).string() + " >>" + log_.string() + " 2>&1";
    }
    bool succeeds(const std::string& command) const { return std::system(line(command).c_str()) == 0; }
    void run(const std::string& command) const
    {
        if (!succeeds(command))
            throw std::runtime_error(command + " fails: " + read(log_));
    }

    ScratchDirectory directory_;
    std::filesystem::path data_ = directory_ / "data", log_ = directory_ / "server.log";
    int port_ = freePort();
    FILE* process_ = nullptr;
};

} // namespace vqloan::test
