#include "http/Daia.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <nlohmann/json.hpp>
#include <set>
#include <stdexcept>

#include "Log.h"
#include "platform/runtime/Text.h"
#include "site/Texts.h"

namespace vqloan::client::http {

namespace {

constexpr const char* approvalRequired = "http://purl.org/ontology/dso#ApprovalRequired";
constexpr std::string_view idSeparator = "|";
// Of a kind that asks its lines one by one, so that the answer does not take too long; and of a database.
constexpr std::size_t mostSingly = 25, mostTogether = 1000;
// No library has such.
constexpr std::size_t longestIdentifier = 200;

const std::vector<std::pair<std::string, std::string>> always = {{"X-DAIA-Version", "1.0.0"},
                                                                 {"Access-Control-Allow-Origin", "*"}};
const char* const methods = "GET, HEAD, OPTIONS";

bool isUnreserved(char c) noexcept
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
           c == '.' || c == '_' || c == '~';
}

bool isUriText(const std::string& text)
{
    static constexpr std::string_view marks = ":/?#[]@!$&'()*+,;=%";
    return std::ranges::all_of(text, [](char c) { return isUnreserved(c) || marks.find(c) != marks.npos; });
}

std::string percentEncoded(std::string_view text)
{
    std::string all;
    for (const char c : text) {
        if (isUnreserved(c) || c == ':') {
            all += c;
            continue;
        }
        char code[4];
        std::snprintf(code, sizeof code, "%%%02X", static_cast<unsigned>(static_cast<unsigned char>(c)));
        all += code;
    }
    return all;
}

// Written once a second only.
const std::string& now()
{
    thread_local std::time_t writtenAt = -1;
    thread_local std::string written;
    const auto seconds = std::time(nullptr);
    if (std::exchange(writtenAt, seconds) == seconds)
        return written;
    const std::chrono::sys_seconds time{std::chrono::seconds(seconds)};
    const auto day = std::chrono::floor<std::chrono::days>(time);
    const std::chrono::year_month_day date(day);
    const std::chrono::hh_mm_ss clock(time - day);
    char text[40];
    std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                  static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                  static_cast<int>(clock.seconds().count()));
    return written = text;
}

std::vector<std::string> identifiersOf(const Request& request)
{
    std::vector<std::string> all;
    for (const std::string& list : request.values("id"))
        for (std::size_t at = 0; at <= list.size();) {
            const auto end = std::min(list.find(idSeparator, at), list.size());
            if (end > at)
                all.push_back(list.substr(at, end - at));
            at = end + idSeparator.size();
        }
    return all;
}

bool isCallback(const std::string& name)
{
    return !name.empty() && std::ranges::all_of(name, [](char c) {
        return (isUnreserved(c) && c != '-' && c != '.' && c != '~');
    });
}

// Throws Refusal for what DAIA does not have.
void check(const Request& request)
{
    if (request.method != "GET" && request.method != "HEAD")
        throw Refusal{405, "DAIA is asked with GET", {{"Allow", methods}}};
    for (const char* const name : {"patron", "patron-type", "access_token"})
        if (request.has(name))
            throw Refusal{501, std::string("questions on behalf of patrons are not answered here: ") + name};
    if (request.has("callback") && !isCallback(request.value("callback")))
        throw Refusal{422, "a callback's name has letters, digits and underscores"};
    if (request.value("format") != "json")
        throw Refusal{422, "the parameter format=json is missing"};
}

// A JSON text. Almost every one is plain, and is taken as it is. `isScript`: without the line ends that JSON
// allows and a script's text must not have.
std::string quoted(const std::string& text, bool isScript)
{
    const auto isPlain = [isScript](char c) {
        return static_cast<unsigned char>(c) >= 0x20 && c != '"' && c != '\\' && (!isScript || c > 0);
    };
    if (std::ranges::all_of(text, isPlain))
        return '"' + text + '"';
    return nlohmann::json(text).dump(-1, ' ', isScript);
}

// What is said of one service. The answers come by thousands a second, so that their texts are put together
// without an object for each.
std::string entry(std::string_view service, site::Can can, const std::string& quotedText)
{
    std::string all = "{\"service\":\"" + std::string(service) + '"';
    if (can == site::Can::later)
        all += ",\"expected\":\"unknown\"";
    if (can == site::Can::ask || can == site::Can::kept) {
        all.append(",\"limitation\":[{\"id\":\"").append(approvalRequired).append("\"");
        if (quotedText.size() > 2)
            all.append(",\"content\":").append(quotedText);
        all += "}]";
    }
    return all + '}';
}

bool canBeHad(site::Can can) noexcept
{
    return can == site::Can::yes || can == site::Can::ask;
}

std::string itemOf(const std::string& id, const Answer& answer, const Services::Says& says, bool isScript)
{
    const std::string text = quoted(text::toUtf8(answer.availability), isScript),
                      library = quoted(text::toUtf8(answer.library), isScript);
    std::string item = "{\"id\":" + quoted(id, isScript);
    if (text.size() > 2)
        item.append(",\"about\":").append(text);
    if (library.size() > 2)
        item.append(",\"department\":{\"content\":").append(library).append("}");
    std::string available, unavailable;
    for (std::size_t i = 0; i < says.size(); ++i) {
        std::string& list = canBeHad(says[i]) ? available : unavailable;
        if (says[i] != site::Can::unsaid)
            list.append(list.empty() ? "" : ",").append(entry(site::services[i], says[i], text));
    }
    if (!available.empty())
        item.append(",\"available\":[").append(available).append("]");
    if (!unavailable.empty())
        item.append(",\"unavailable\":[").append(unavailable).append("]");
    return item + '}';
}

// Throws Refusal where one was not answered.
void checkAnswered(const std::vector<Answer>& answers)
{
    for (const Answer& answer : answers) {
        if (answer.outcome == Outcome::timeout)
            throw Refusal{504, text::toUtf8(answer.availability)};
        if (answer.outcome == Outcome::failure)
            throw Refusal{502, answer.failure ? answer.failure->text() : text::toUtf8(answer.availability)};
    }
}

} // namespace

struct Daia::Copy
{
    std::string requested;
    std::string name; // LIBRARY:INVENTORY as it is in URIs
    std::u16string line;
};

Daia::Daia(Workers& workers, const Services& services, DaiaOptions options)
    : workers_(workers), services_(services), options_(std::move(options))
{
    for (const std::string& text : {options_.baseUri, options_.language})
        if (!isUriText(text))
            throw std::runtime_error("no beginning of a URI, or no language: " + printable(text));
    for (const std::string& text : {options_.idPrefix, options_.institution})
        if (!text::isUtf8(text))
            throw std::runtime_error("not UTF-8: " + printable(text));
}

Response Daia::answer(const Request& request, Clock::time_point deadline) const
{
    Response response;
    std::string language = options_.language;
    try {
        response = request.method == "OPTIONS" ? Response() : documents(request, deadline);
    } catch (const Refusal& refusal) {
        response = errorResponse(refusal);
        language = "en";
    }
    if (request.method == "OPTIONS") {
        response.headers.emplace_back("Access-Control-Allow-Headers", "Content-Type");
        response.headers.emplace_back("Access-Control-Allow-Methods", methods);
        response.headers.emplace_back("Allow", methods);
    }
    response.headers.insert(response.headers.end(), always.begin(), always.end());
    response.headers.emplace_back("Content-Language", language);
    if (const std::string callback = request.value("callback"); isCallback(callback)) {
        // The comment keeps what a callback's name may begin from being taken for another kind of file.
        response.body = "/**/" + callback + '(' + response.body + ");";
        response.type = "application/javascript; charset=utf-8";
        response.headers.emplace_back("X-Content-Type-Options", "nosniff");
    }
    if (request.has("suppress_response_codes"))
        response.status = 200;
    return response;
}

Response Daia::documents(const Request& request, Clock::time_point deadline) const
{
    check(request);
    auto identifiers = identifiersOf(request);
    if (identifiers.empty())
        throw Refusal{422, "the parameter id is missing"};
    Response response;
    const std::size_t most = workers_.mostAtOnce() > 1 ? mostTogether : mostSingly;
    if (identifiers.size() > most) {
        std::string rest;
        for (std::size_t i = most; i < identifiers.size(); ++i)
            rest.append(rest.empty() ? "" : "%7C").append(percentEncoded(identifiers[i]));
        std::string link = "<?id=" + rest + "&format=json";
        if (request.has("callback"))
            link += "&callback=" + request.value("callback");
        if (request.has("suppress_response_codes"))
            link += "&suppress_response_codes=1";
        response.headers.emplace_back("Link", link + ">; rel=\"next\"");
        identifiers.resize(most);
    }

    std::vector<Copy> copies;
    std::set<std::string> names; // a copy that is asked for twice is one document
    std::vector<std::u16string> lines;
    for (const std::string& identifier : identifiers) {
        if (!text::isUtf8(identifier))
            throw Refusal{400, "an identifier is not UTF-8"};
        auto copy = copyOf(identifier);
        if (!copy || !names.insert(copy->name).second)
            continue;
        lines.push_back(copy->line);
        copies.push_back(*std::move(copy));
    }
    std::vector<Answer> answers;
    if (!lines.empty()) {
        auto found = workers_.ask(std::move(lines), deadline)->wait();
        if (!found)
            throw Refusal{504, "the back end has not answered in time"};
        answers = *std::move(found);
        checkAnswered(answers);
    }
    response.body = documentsText(copies, answers, request.has("callback"));
    return response;
}

// Nothing for an identifier that can be no copy's.
std::optional<Daia::Copy> Daia::copyOf(const std::string& identifier) const
{
    if (!identifier.starts_with(options_.idPrefix) || identifier.size() > longestIdentifier)
        return std::nullopt;
    const std::string name = identifier.substr(options_.idPrefix.size());
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; };
    const auto colon = name.find(':');
    if (colon == name.npos || std::ranges::any_of(name, isControl))
        return std::nullopt;
    // As the component takes them.
    const std::u16string library(text::trim(text::fromUtf8(name.substr(0, colon))));
    const std::u16string inventory = text::upper(text::trim(text::fromUtf8(name.substr(colon + 1))));
    if (library.empty() || inventory.empty())
        return std::nullopt;
    return Copy{identifier, percentEncoded(text::toUtf8(library + u':' + inventory)),
                library + u'\t' + u'\t' + inventory + u'\t'};
}

std::string Daia::documentsText(const std::vector<Copy>& copies, const std::vector<Answer>& answers,
                                bool isScript) const
{
    std::string all = "{\"document\":[";
    for (std::size_t i = 0; i < copies.size(); ++i) {
        const std::string id = options_.baseUri + copies[i].name;
        all.append(i == 0 ? "" : ",").append("{\"id\":").append(quoted(id, isScript));
        all.append(",\"requested\":").append(quoted(copies[i].requested, isScript));
        if (answers[i].status != site::statusOf(site::Message::notHeld))
            all.append(",\"item\":[")
                .append(itemOf(id + "/item", answers[i], services_.of(answers[i].status), isScript))
                .append("]");
        all += '}';
    }
    all += ']';
    if (!options_.institution.empty())
        all.append(",\"institution\":{\"content\":")
            .append(quoted(options_.institution, isScript))
            .append("}");
    return all + ",\"timestamp\":\"" + now() + "\"}";
}

} // namespace vqloan::client::http
