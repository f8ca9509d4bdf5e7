// A MariaDB server of the tests' own. Its texts are Latin-1 and compared exactly.
#pragma once

#include "ServerProcess.h"

namespace vqloan::test {

class MariaDbServer : public ServerProcess
{
public:
    static constexpr const char* driver = "MariaDB Unicode";
    static constexpr const char* lock = "LOCK TABLES T WRITE; SELECT SLEEP(4)"; // takes T from all others

    // Why there can be none here; empty when there can.
    static std::string whyNot()
    {
        return ServerProcess::whyNot("MariaDB", "/usr/sbin/mariadbd", driver, "mysql");
    }

    MariaDbServer() : ServerProcess("mysql", "server.pid", driver, "libri")
    {
        // Small and without waiting for the disk: what it holds need not outlive it.
        write(
            directory_ / "my.cnf",
            "[mariadbd]\ninnodb-log-file-size=4M\ninnodb-buffer-pool-size=8M\ninnodb-flush-method=nosync\n"
            "innodb-data-file-path=ibdata1:10M:autoextend\ndebug-no-sync=1\nskip-log-bin\nskip-name-resolve\n"
            "character-set-server=latin1\ncollation-server=latin1_bin\n");
        run("mariadb-install-db" + settings() +
            "--auth-root-authentication-method=normal --skip-test-db --datadir=" + data_.string());
        start();
        execute(std::string("CREATE DATABASE libri; CREATE USER ") + reader + " IDENTIFIED BY '" +
                    readersPassword + "'; GRANT SELECT ON libri.* TO " + reader,
                "mysql");
    }

    void start()
    {
        begin("/usr/sbin/mariadbd" + settings() + "--datadir=" + data_.string() +
                  " --socket=" + socket_.string() + " --pid-file=" + (directory_ / "server.pid").string() +
                  " --bind-address=127.0.0.1 --port=" + std::to_string(port()),
              "mariadb-admin --no-defaults --user=root --socket=" + socket_.string() + " ping");
    }

    void execute(const std::string& statements, const std::string& database = "libri") const
    {
        ServerProcess::execute("mariadb --no-defaults --default-character-set=utf8mb4 --user=root --socket=" +
                                   socket_.string() + " " + database,
                               statements);
    }
    void endSessions() const { execute(std::string("KILL USER ") + reader); }

private:
    std::string settings() const { return " --defaults-file=" + (directory_ / "my.cnf").string() + " "; }

    std::filesystem::path data_ = directory_ / "data", socket_ = directory_ / "s";
};

} // namespace vqloan::test
