// The other end of an exchange: it takes each request file and answers as the case says.
#pragma once

#include <chrono>
#include <functional>
#include <system_error>
#include <thread>

#include "Site.h"

namespace vqloan::test {

class Responder
{
public:
    // Gets the request line; writes what it likes to the answer file.
    using Reply = std::function<void(const std::string& request, const std::filesystem::path& answerFile)>;

    // `name` without an extension.
    Responder(std::filesystem::path name, const Reply& reply)
        : counterpart_(
              [request = name.replace_extension(".CL1"), answer = name.replace_extension(".CL2"), reply] {
                  const std::string line = read(request);
                  std::error_code kept; // a request cannot be removed while its writer holds it
                  // It goes so that an equal request is seen as the next one.
                  if (line.ends_with("\r\n") && std::filesystem::remove(request, kept))
                      reply(line.substr(0, line.size() - 2), answer);
                  std::this_thread::sleep_for(std::chrono::microseconds(200));
              })
    {}

private:
    Counterpart counterpart_;
};

// Replies.
inline Responder::Reply whole(const std::string& bytes)
{
    return [bytes](const std::string&, const std::filesystem::path& answer) {
        write(answer.string() + ".new", bytes);
        std::filesystem::rename(answer.string() + ".new", answer);
    };
}

// Half of it at once and the rest later, as a counterpart may that does not rename.
inline Responder::Reply inPieces(const std::string& half, const std::string& rest)
{
    return [=](const std::string&, const std::filesystem::path& answer) {
        write(answer, half);
        std::this_thread::sleep_for(std::chrono::milliseconds(60));
        std::ofstream(answer, std::ios::binary | std::ios::app) << rest;
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
