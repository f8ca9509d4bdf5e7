// A PostgreSQL server of the tests' own: on a loopback port, in a scratch directory, gone with the object.
#pragma once

#include <arpa/inet.h>
#include <fcntl.h>
#include <grp.h>
#include <netinet/in.h>
#include <pwd.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "ScratchDirectory.h"

namespace vqloan::test {

// A port of the loopback interface that nobody listens on.
inline int freePort()
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    const int listener = socket(AF_INET, SOCK_STREAM, 0);
    bind(listener, reinterpret_cast<sockaddr*>(&address), size);
    getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size);
    close(listener);
    return ntohs(address.sin_port);
}

inline bool hasOdbcDriver(const std::string& name)
{
    return read("/etc/odbcinst.ini").find("[" + name + "]") != std::string::npos;
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
        std::filesystem::permissions(directory_.path(), std::filesystem::perms(0755));
        std::filesystem::create_directory(data_);
        write(log_, "");
        if (const passwd* owner = account())
            if (chown(data_.c_str(), owner->pw_uid, owner->pw_gid) != 0 ||
                chown(log_.c_str(), owner->pw_uid, owner->pw_gid) != 0)
                throw std::runtime_error("cannot give the server its directory");
        run({"initdb", "-D", data_, "-U", "postgres", "--auth=trust", "--encoding=UTF8", "--locale=C",
             "--no-sync"});
        write(data_ / "pg_hba.conf",
              "host all postgres 127.0.0.1/32 trust\nhost all all 127.0.0.1/32 scram-sha-256\n");
        start();
        execute(std::string("CREATE ROLE ") + reader + " LOGIN PASSWORD '" + readersPassword +
                "'; ALTER DEFAULT PRIVILEGES IN SCHEMA public GRANT SELECT ON TABLES TO " + reader);
    }
    ~PostgresServer() { stop(SIGQUIT); }
    PostgresServer(const PostgresServer&) = delete;
    PostgresServer& operator=(const PostgresServer&) = delete;

    void start()
    {
        process_ = spawn({"postgres", "-D", data_, "-p", std::to_string(port_), "-c",
                          "listen_addresses=127.0.0.1", "-c", "unix_socket_directories=", "-c", "fsync=off"});
        for (int tries = 0; tries < 600; ++tries) {
            if (succeeds(psql({"-c", "SELECT 1"})))
                return;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        throw std::runtime_error("PostgreSQL does not start: " + read(log_));
    }
    // Ends all sessions and the server.
    void stop(int signal = SIGINT)
    {
        if (process_ > 0) {
            kill(process_, signal);
            waitpid(process_, nullptr, 0);
        }
        process_ = 0;
    }

    void execute(const std::string& statements) const
    {
        write(directory_ / "statements.sql", statements);
        if (!succeeds(psql({"-v", "ON_ERROR_STOP=1", "-f", directory_ / "statements.sql"})))
            throw std::runtime_error(statements + ": " + read(log_));
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
    using Arguments = std::vector<std::string>;

    static std::filesystem::path programs()
    {
        std::filesystem::path newest;
        std::error_code none;
        for (const auto& version : std::filesystem::directory_iterator("/usr/lib/postgresql", none))
            if (std::filesystem::exists(version.path() / "bin" / "initdb"))
                newest = std::max(newest, version.path() / "bin");
        return newest;
    }
    static const passwd* account() { return geteuid() == 0 ? getpwnam("postgres") : nullptr; }

    Arguments psql(Arguments more) const
    {
        Arguments all{"psql", "-X", "-q", "-h", "127.0.0.1", "-p", std::to_string(port_), "-U", "postgres"};
        all.insert(all.end(), more.begin(), more.end());
        return all;
    }

    pid_t spawn(const Arguments& command) const
    {
        const std::string program = programs() / command.front();
        std::vector<char*> arguments;
        for (const std::string& argument : command)
            arguments.push_back(const_cast<char*>(argument.c_str()));
        arguments.front() = const_cast<char*>(program.c_str()); // it looks beside itself for its companions
        arguments.push_back(nullptr);
        const passwd* owner = account();
        const pid_t child = fork();
        if (child != 0)
            return child;
        if (owner && (setgroups(0, nullptr) != 0 || setgid(owner->pw_gid) != 0 || setuid(owner->pw_uid) != 0))
            _exit(126);
        prctl(PR_SET_PDEATHSIG, SIGQUIT); // when the tests end in whatever way
        const int log = open(log_.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
        dup2(log, STDOUT_FILENO);
        dup2(log, STDERR_FILENO);
        execv(program.c_str(), arguments.data());
        _exit(127);
    }
    bool succeeds(const Arguments& command) const
    {
        int status = 0;
        return waitpid(spawn(command), &status, 0) > 0 && WIFEXITED(status) && WEXITSTATUS(status) == 0;
    }
    void run(const Arguments& command) const
    {
        if (!succeeds(command))
            throw std::runtime_error(command.front() + " fails: " + read(log_));
    }

    ScratchDirectory directory_;
    std::filesystem::path data_ = directory_ / "data", log_ = directory_ / "server.log";
    int port_ = freePort();
    pid_t process_ = 0;
};

} // namespace vqloan::test
