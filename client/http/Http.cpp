#include "http/Http.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace vqloan::client::http {

namespace {

struct StatusRow
{
    int status;
    std::string_view reason, error;
};

constexpr StatusRow statuses[] = {
    {200, "OK", ""},
    {400, "Bad Request", "invalid_request"},
    {404, "Not Found", "invalid_request"},
    {405, "Method Not Allowed", "invalid_request"},
    {408, "Request Timeout", "invalid_request"},
    {411, "Length Required", "invalid_request"},
    {413, "Payload Too Large", "invalid_request"},
    {414, "URI Too Long", "invalid_request"},
    {415, "Unsupported Media Type", "invalid_request"},
    {422, "Unprocessable Entity", "invalid_request"},
    {431, "Request Header Fields Too Large", "invalid_request"},
    {500, "Internal Server Error", "internal_error"},
    {501, "Not Implemented", "not_implemented"},
    {502, "Bad Gateway", "bad_gateway"},
    {503, "Service Unavailable", "service_unavailable"},
    {504, "Gateway Timeout", "gateway_timeout"},
    {505, "HTTP Version Not Supported", "invalid_request"},
};

const StatusRow& rowOf(int status) noexcept
{
    const auto* const found = std::ranges::find(statuses, status, &StatusRow::status);
    return found == std::end(statuses) ? rowOf(500) : *found;
}

int digitOf(char c) noexcept
{
    if (c >= '0' && c <= '9')
        return c - '0';
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

std::string decoded(std::string_view text)
{
    std::string all;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isEscape =
            text[i] == '%' && i + 2 < text.size() && digitOf(text[i + 1]) >= 0 && digitOf(text[i + 2]) >= 0;
        if (isEscape) {
            all += static_cast<char>(16 * digitOf(text[i + 1]) + digitOf(text[i + 2]));
            i += 2;
        } else {
            all += text[i] == '+' ? ' ' : text[i];
        }
    }
    return all;
}

} // namespace

std::multimap<std::string, std::string> parametersOf(std::string_view target)
{
    std::multimap<std::string, std::string> all;
    target.remove_prefix(std::min(target.find('?'), target.size()));
    while (!target.empty()) {
        target.remove_prefix(1); // the separator
        const std::string_view one = target.substr(0, target.find('&'));
        target.remove_prefix(one.size());
        const auto equals = std::min(one.find('='), one.size());
        if (!one.empty())
            all.emplace(decoded(one.substr(0, equals)),
                        decoded(one.substr(std::min(equals + 1, one.size()))));
    }
    return all;
}

std::string_view reasonOf(int status) noexcept
{
    return rowOf(status).reason;
}

std::string errorBody(int status, std::string_view description)
{
    nlohmann::ordered_json object;
    object["error"] = rowOf(status).error;
    object["code"] = status;
    object["error_description"] = description;
    // A back end's text may hold anything, and a script's text must not have all that JSON allows.
    return object.dump(-1, ' ', true, nlohmann::ordered_json::error_handler_t::replace);
}

Response errorResponse(const Refusal& refusal)
{
    Response response;
    response.status = refusal.status;
    response.headers = refusal.headers;
    response.body = errorBody(refusal.status, refusal.description);
    return response;
}

} // namespace vqloan::client::http
