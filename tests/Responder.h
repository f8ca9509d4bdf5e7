// The other end of an exchange as a process of its own: it takes each request file and answers as the case
// says.
#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <functional>
#include <thread>

#include "Site.h"

namespace vqloan::test {

class Responder
{
public:
    // Gets the request line; writes what it likes to the answer file.
    using Reply = std::function<void(const std::string& request, const std::filesystem::path& answerFile)>;

    // `name` without an extension.
    Responder(const std::filesystem::path& name, const Reply& reply) : process_(fork())
    {
        if (process_ == 0)
            serve(name, reply);
    }
    ~Responder()
    {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
    }
    Responder(const Responder&) = delete;
    Responder& operator=(const Responder&) = delete;

private:
    [[noreturn]] static void serve(std::filesystem::path name, const Reply& reply)
    {
        const auto request = name.replace_extension(".CL1");
        const auto answer = name.replace_extension(".CL2");
        for (;;) {
            const std::string line = read(request);
            if (line.ends_with("\r\n")) {
                std::filesystem::remove(request); // so that an equal request is seen as the next one
                reply(line.substr(0, line.size() - 2), answer);
            }
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
    }

    pid_t process_;
};

// Replies.
inline Responder::Reply whole(const std::string& bytes)
{
    return [bytes](const std::string&, const std::filesystem::path& answer) {
        write(answer.string() + ".new", bytes);
        std::filesystem::rename(answer.string() + ".new", answer);
    };
}

inline Responder::Reply after(int milliseconds, const Responder::Reply& reply)
{
    return [=](const std::string& request, const std::filesystem::path& answer) {
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
        reply(request, answer);
    };
}

} // namespace vqloan::test
