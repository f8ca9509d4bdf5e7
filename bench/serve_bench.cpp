// Questions over HTTP: on connections that stay open beside a route of the same server that answers what it
// knows already; a request of as many lines as there may be beside the same lines at the command line; and
// the copies of a large catalogue page in one request.
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr int copies = 40'000;
constexpr int connections = 4;
constexpr Seconds turn{1};
constexpr std::size_t rounds = 9;

const std::string program = VQLOAN_PROGRAM;

double median(std::vector<double> values)
{
    std::ranges::nth_element(values, values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2));
    return values[values.size() / 2];
}

double secondsOf(const std::function<void()>& work)
{
    const auto begun = Clock::now();
    work();
    return Seconds(Clock::now() - begun).count();
}

void run(const std::string& command)
{
    if (std::system(command.c_str()) != 0)
        throw std::runtime_error("failed: " + command);
}

std::string contentOf(const std::filesystem::path& file)
{
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

// A sample site and its server.
class Service
{
public:
    Service()
        : directory_(std::filesystem::temp_directory_path() / ("vqloan-bench-" + std::to_string(getpid())))
    {
        run(program + " site " + site() + " --sample --copies=" + std::to_string(copies) + " >/dev/null");
        const auto said = directory_ / "said";
        process_ = fork();
        if (process_ == 0) {
            if (!std::freopen(said.c_str(), "w", stdout))
                _exit(1);
            execl(program.c_str(), program.c_str(), "serve", "--quiet", "--kind=SQL2", "--listen=127.0.0.1:0",
                  ("--site=" + site()).c_str(), nullptr);
            _exit(1);
        }
        std::string line;
        while (!(line = contentOf(said)).ends_with('\n')) {
            if (waitpid(process_, nullptr, WNOHANG) != 0)
                throw std::runtime_error("the server has ended");
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        port_ = static_cast<std::uint16_t>(std::stoi(line.substr(line.rfind(':') + 1)));
    }
    ~Service()
    {
        kill(process_, SIGTERM);
        waitpid(process_, nullptr, 0);
        std::filesystem::remove_all(directory_);
    }
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    std::string site() const { return (directory_ / "site").string(); }
    std::uint16_t port() const { return port_; }

private:
    std::filesystem::path directory_;
    pid_t process_ = 0;
    std::uint16_t port_ = 0;
};

class Connection
{
public:
    explicit Connection(std::uint16_t port) : handle_(socket(AF_INET, SOCK_STREAM, 0))
    {
        const int on = 1;
        setsockopt(handle_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (connect(handle_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
            throw std::runtime_error("no connection");
    }
    ~Connection() { close(handle_); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // The whole answer, its head with it.
    const std::string& ask(const std::string& request)
    {
        for (std::size_t sent = 0; sent < request.size();)
            sent += checked(send(handle_, request.data() + sent, request.size() - sent, MSG_NOSIGNAL));
        answer_.clear();
        while (!isWhole()) {
            char piece[256 * 1024];
            const std::size_t size = checked(recv(handle_, piece, sizeof piece, 0));
            answer_.append(piece, size);
        }
        if (!answer_.starts_with("HTTP/1.1 200 "))
            throw std::runtime_error(answer_);
        return answer_;
    }

private:
    static std::size_t checked(ssize_t size)
    {
        if (size <= 0)
            throw std::runtime_error("the connection broke");
        return static_cast<std::size_t>(size);
    }
    bool isWhole() const
    {
        const auto end = answer_.find("\r\n\r\n");
        if (end == answer_.npos)
            return false;
        const auto length = answer_.find("Content-Length: ");
        if (length < end)
            return answer_.size() == end + 4 + std::strtoul(answer_.c_str() + length + 16, nullptr, 10);
        return answer_.ends_with("\r\n0\r\n\r\n");
    }

    int handle_;
    std::string answer_;
};

std::string get(const std::string& target)
{
    return "GET " + target + " HTTP/1.1\r\nHost: x\r\n\r\n";
}

std::string post(const std::string& body)
{
    return "POST /availability HTTP/1.1\r\nHost: x\r\nContent-Length: " + std::to_string(body.size()) +
           "\r\n\r\n" + body;
}

// Answers a second, of clients that each ask again as soon as they are answered.
double rate(std::uint16_t port, const std::vector<std::string>& requests)
{
    std::atomic<bool> over = false;
    std::atomic<std::size_t> answered = 0;
    std::vector<std::jthread> clients;
    for (std::size_t i = 0; i < connections; ++i)
        clients.emplace_back([&, i] {
            Connection connection(port);
            for (std::size_t at = i; !over; at += connections, ++answered)
                connection.ask(requests[at % requests.size()]);
        });
    std::this_thread::sleep_for(turn / 10);
    const std::size_t before = answered;
    const double seconds = secondsOf([] { std::this_thread::sleep_for(turn); });
    const std::size_t after = answered;
    over = true;
    return static_cast<double>(after - before) / seconds;
}

// Of the sample's copies, as request lines.
std::vector<std::string> linesOf(const Service& service)
{
    std::ifstream all(service.site() + "/all.txt");
    std::vector<std::string> lines;
    for (std::string line; std::getline(all, line);)
        lines.push_back(line);
    return lines;
}

std::string firstOf(const std::vector<std::string>& lines, std::size_t count)
{
    std::string body;
    for (std::size_t i = 0; i < count; ++i)
        body += lines.at(i) + '\n';
    return body;
}

void measureQuestions(const Service& service, const std::vector<std::string>& lines)
{
    std::vector<std::string> questions;
    for (const std::string& line : lines) {
        const auto shelf = line.find('\t'), inventory = line.find('\t', shelf + 1);
        questions.push_back(get("/daia?format=json&id=" + line.substr(0, shelf) + ':' +
                                line.substr(inventory + 1, line.find('\t', inventory + 1) - inventory - 1)));
    }
    std::vector<double> asked, constant;
    for (std::size_t i = 0; i < rounds; ++i) {
        asked.push_back(rate(service.port(), questions));
        constant.push_back(rate(service.port(), {get("/health")}));
    }
    std::printf("one copy a request: %.0f a second, %.2f of a constant answer\n", median(asked),
                median(asked) / median(constant));
}

void measureLines(const Service& service, const std::vector<std::string>& lines)
{
    constexpr std::size_t most = 32'766;
    const std::string request = post(firstOf(lines, most)), file = service.site() + "/most.txt";
    std::ofstream(file) << firstOf(lines, most);
    const std::string command =
        program + " ask --kind=SQL2 --format=ndjson --site=" + service.site() + ' ' + file + " >/dev/null";
    std::vector<double> posted, asked;
    for (std::size_t i = 0; i < rounds; ++i) {
        Connection connection(service.port());
        posted.push_back(secondsOf([&] { connection.ask(request); }));
        asked.push_back(secondsOf([&] { run(command); }));
    }
    std::printf("%zu lines in a request: %.0f ms, %.2f of the command line\n", most, 1000 * median(posted),
                median(posted) / median(asked));
}

void measurePage(const Service& service, const std::vector<std::string>& lines)
{
    constexpr std::size_t page = 3'618;
    const std::string request = post(firstOf(lines, page));
    std::vector<double> seconds;
    for (std::size_t i = 0; i < rounds; ++i) {
        Connection connection(service.port());
        seconds.push_back(secondsOf([&] { connection.ask(request); }));
    }
    std::printf("%zu lines in a request: %.1f ms\n", page, 1000 * median(seconds));
}

} // namespace

int main()
{
    const Service service;
    const auto lines = linesOf(service);
    measureQuestions(service, lines);
    measureLines(service, lines);
    measurePage(service, lines);
}
