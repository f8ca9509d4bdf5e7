// A request and its answer, as the routes see them.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vqloan::client::http {

using Clock = std::chrono::steady_clock;

// The largest body of a request, and the most that is held of requests that are not whole yet.
inline constexpr std::size_t largestBody = 1024 * 1024;
inline constexpr std::size_t mostHeld = 64 * largestBody;
// How long a request may take to come: its head, and all of it; how long a connection stays open between
// requests; how long a client may take for an answer.
inline constexpr std::chrono::seconds headLimit{10}, requestLimit{30}, idleLimit{15}, takingLimit{10};

struct Request
{
    const std::string &method, &target;                 // the target is the path with its query, as it came
    const std::string path;                             // not decoded: each has one name
    std::multimap<std::string, std::string> parameters; // decoded
    const std::string& body;
    Clock::time_point came;

    bool has(const std::string& name) const { return parameters.contains(name); }
    std::string value(const std::string& name) const
    {
        const auto found = parameters.find(name);
        return found == parameters.end() ? std::string() : found->second;
    }
    std::vector<std::string> values(const std::string& name) const
    {
        std::vector<std::string> all;
        for (auto [it, end] = parameters.equal_range(name); it != end; ++it)
            all.push_back(it->second);
        return all;
    }
};

// The parameters of a target's query, decoded. An escape that is none stays as it is.
std::multimap<std::string, std::string> parametersOf(std::string_view target);

struct Response
{
    int status = 200;
    std::string type = "application/json; charset=utf-8";
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;
    std::function<std::optional<std::string>()> next; // further pieces behind the body; nothing at the end
};

// A request that is not answered as it was meant.
struct Refusal
{
    int status = 0;
    std::string description;
    std::vector<std::pair<std::string, std::string>> headers = {};
};

// {"error", "code", "error_description"} as DAIA has it.
std::string errorBody(int status, std::string_view description);
Response errorResponse(const Refusal& refusal);
// The words that belong to a status.
std::string_view reasonOf(int status) noexcept;

} // namespace vqloan::client::http
