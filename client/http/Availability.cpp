#include "http/Availability.h"

#include <algorithm>
#include <cstdint>

#include "AnswerJson.h"
#include "Requests.h"
#include "platform/runtime/Text.h"
#include "site/Messages.h"

namespace vqloan::client::http {

namespace {

constexpr std::size_t mostLines = 32766; // as many as one call of the component takes

using Lines = std::vector<std::u16string>;

Lines linesOf(const std::string& body)
{
    Lines lines;
    Requests requests(body);
    for (auto block = requests.next(mostLines + 1); !block.empty(); block = requests.next(mostLines + 1))
        for (auto& request : block) {
            if (!request.refusal.empty())
                throw Refusal{422, "line " + std::to_string(request.number) + ": " + request.refusal};
            lines.push_back(std::move(request.line));
        }
    return lines;
}

Lines linesOf(const http::Request& request)
{
    static constexpr const char* names[] = {"library", "shelf", "inventory", "note"};
    Lines lines(request.values("library").size());
    for (const char* const name : names) {
        const auto values = request.values(name);
        if (values.size() != lines.size() && !(values.empty() && name != names[2]))
            throw Refusal{422,
                          "library and inventory are given, and as often as each other; so are shelf and "
                          "note where they are given"};
        for (std::size_t i = 0; i < lines.size(); ++i) {
            const std::string value = i < values.size() ? values[i] : std::string();
            if (!text::isUtf8(value) ||
                std::ranges::any_of(value, [](char c) { return static_cast<unsigned char>(c) < 0x20; }))
                throw Refusal{422, std::string("no text of one line in UTF-8: ") + name};
            lines[i].append(text::fromUtf8(value));
            if (name != names[3])
                lines[i] += u'\t';
        }
    }
    return lines;
}

// Asks ahead, so that the back end is busy while answers are sent.
class Asking
{
public:
    Asking(Workers& workers, Lines lines, Clock::time_point deadline)
        : workers_(workers), lines_(std::move(lines)), deadline_(deadline)
    {
        askAhead();
    }

    bool isAtEnd() const noexcept { return blocks_.empty(); }
    // The next piece of the answer; nothing at the end.
    std::optional<std::string> next()
    {
        if (blocks_.empty())
            return std::nullopt;
        const auto block = std::move(blocks_.front());
        blocks_.pop_front();
        auto answers = answersTo(*block);
        askAhead();
        std::string piece;
        for (std::size_t i = 0; i < answers.size(); ++i)
            piece += toJson(block->lines[i], answers[i]) + '\n';
        return piece;
    }

private:
    void askAhead()
    {
        while (at_ < lines_.size() && blocks_.size() < workers_.size() + 1) {
            const auto first = lines_.begin() + static_cast<std::ptrdiff_t>(at_);
            const auto count = std::min(workers_.mostAtOnce(), lines_.size() - at_);
            at_ += count;
            Lines lines(std::make_move_iterator(first),
                        std::make_move_iterator(first + static_cast<std::ptrdiff_t>(count)));
            blocks_.push_back(workers_.ask(std::move(lines), deadline_));
        }
    }
    static std::vector<Answer> answersTo(Block& block)
    {
        std::string failure = "not answered in the time that a request has";
        try {
            if (auto answers = block.wait())
                return *std::move(answers);
        } catch (const Refusal& refusal) {
            failure = refusal.description;
        }
        Answer failed;
        failed.availability = text::fromUtf8(failure);
        failed.status = site::status::failure;
        return std::vector<Answer>(block.lines.size(), failed);
    }

    Workers& workers_;
    Lines lines_;
    Clock::time_point deadline_;
    std::deque<std::shared_ptr<Block>> blocks_;
    std::size_t at_ = 0; // of the first line that is not asked yet
};

} // namespace

Response availability(const http::Request& request, Workers& workers, Clock::time_point deadline)
{
    if (request.method != "GET" && request.method != "HEAD" && request.method != "POST")
        throw Refusal{405, "availability is asked with GET or POST", {{"Allow", "GET, HEAD, POST"}}};
    Lines lines = request.method == "POST" ? linesOf(request.body) : linesOf(request);
    if (lines.empty())
        throw Refusal{422, "there is nothing to ask"};
    if (lines.size() > mostLines)
        throw Refusal{413, "a request has at most " + std::to_string(mostLines) + " lines"};
    Response response;
    response.type = "application/x-ndjson; charset=utf-8";
    const auto asking = std::make_shared<Asking>(workers, std::move(lines), deadline);
    if (auto first = asking->next())
        response.body = *std::move(first);
    if (!asking->isAtEnd())
        response.next = [asking] { return asking->next(); };
    return response;
}

} // namespace vqloan::client::http
