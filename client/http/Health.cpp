#include "http/Health.h"

#include <nlohmann/json.hpp>

#include "Parameters.h"
#include "platform/runtime/Text.h"

namespace vqloan::client::http {

namespace {

using namespace std::chrono_literals;

constexpr Clock::duration counts = 1s, patience = 5s;

// A host is asked about listed libraries only, and not about those of the skipped group: one of each.
// Another back end tells of any copy that it does not have it.
std::vector<std::u16string> questionsOf(const Site& site, Kind kind)
{
    const std::u16string copy = u"\t\t0000000\t";
    if (kind != Kind::host)
        return {u"0" + copy};
    std::vector<std::u16string> all;
    const Parameters parameters(site);
    for (const std::u16string& line : parameters.lines())
        if (site::isLibraryLine(text::trim(line)))
            all.push_back(site::libraryOf(text::trim(line)).code + copy);
    return all;
}

} // namespace

Health::Health(Workers& workers, const Site& site, Kind kind)
    : workers_(workers), questions_(questionsOf(site, kind))
{}

Response Health::answer()
{
    std::string wrong;
    {
        // Whoever comes meanwhile waits for what is found.
        const std::lock_guard lock(mutex_);
        if (Clock::now() >= again_) {
            wrong_ = whatIsWrong(Clock::now() + patience);
            again_ = Clock::now() + counts;
        }
        wrong = wrong_;
    }
    nlohmann::ordered_json object{{"status", wrong.empty() ? "ok" : "failing"}};
    Response response;
    if (!wrong.empty()) {
        object["reason"] = wrong;
        response.status = 503;
    }
    response.body = object.dump() + '\n';
    response.headers.emplace_back("Cache-Control", "no-store");
    return response;
}

std::string Health::whatIsWrong(Clock::time_point deadline)
{
    try {
        for (const std::u16string& question : questions_) {
            const auto answers = workers_.ask({question}, deadline)->wait();
            if (!answers)
                return "the back end has not answered in time";
            const Answer& answer = answers->front();
            if (answer.outcome == Outcome::failure || answer.outcome == Outcome::timeout)
                return answer.failure ? answer.failure->text() : text::toUtf8(answer.availability);
            if (answer.outcome == Outcome::answer)
                break;
        }
    } catch (const Refusal& refusal) {
        return refusal.description;
    }
    return {};
}

} // namespace vqloan::client::http
