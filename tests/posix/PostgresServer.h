// A PostgreSQL server of the tests' own.
#pragma once

#include <algorithm>

#include "ServerProcess.h"

namespace vqloan::test {

class PostgresServer : public ServerProcess
{
public:
    static constexpr const char* driver = "PostgreSQL Unicode";
    static constexpr const char* lock =
        "BEGIN; LOCK TABLE T; SELECT pg_sleep(4); COMMIT"; // takes T from all others

    // Why there can be none here; empty when there can.
    static std::string whyNot()
    {
        return ServerProcess::whyNot("PostgreSQL", programs() / "initdb", driver, "postgres");
    }

    explicit PostgresServer(const std::string& encoding = "UTF8")
        : ServerProcess("postgres", "data/postmaster.pid", driver, "postgres")
    {
        run(program("initdb") + " -U postgres --auth=trust --locale=C --no-sync --encoding=" + encoding +
            " -D " + data_.string());
        write(data_ / "pg_hba.conf",
              "host all postgres 127.0.0.1/32 trust\nhost all all 127.0.0.1/32 scram-sha-256\n");
        start();
        execute(std::string("CREATE ROLE ") + reader + " LOGIN PASSWORD '" + readersPassword +
                "'; ALTER DEFAULT PRIVILEGES IN SCHEMA public GRANT SELECT ON TABLES TO " + reader);
    }

    void start()
    {
        begin(program("postgres") +
                  " -c listen_addresses=127.0.0.1 -c unix_socket_directories= -c fsync=off -p " +
                  std::to_string(port()) + " -D " + data_.string(),
              program("pg_isready") + " -h 127.0.0.1 -p " + std::to_string(port()));
    }
    void stop() { ServerProcess::stop(SIGINT); }

    void execute(const std::string& statements) const
    {
        ServerProcess::execute(program("psql") + " -X -q -h 127.0.0.1 -p " + std::to_string(port()) +
                                   " -U postgres -v ON_ERROR_STOP=1",
                               statements);
    }
    void endSessions() const
    {
        execute("SELECT pg_terminate_backend(pid) FROM pg_stat_activity "
                "WHERE backend_type = 'client backend' AND pid <> pg_backend_pid()");
    }

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
    static std::string program(const char* name) { return (programs() / name).string(); }

    std::filesystem::path data_ = directory_ / "data";
};

} // namespace vqloan::test
