#include "Asker.h"

#include <algorithm>
#include <stdexcept>

#include "platform/runtime/Text.h"
#include "site/Messages.h"
#include "site/Texts.h"

namespace vqloan::client {

namespace {

// An own library that no answer names: every line is one of others, and those of a database or a gateway come
// in the order of the request.
constexpr std::string_view nobody = "\xEF\xBF\xBF";

// Within one call a state of the database is seen, so that a block is not too small; and between two calls
// progress is told and an interruption heard, so that it is not too large either.
constexpr std::size_t usualBlock = 1024;
// The most lines that one call takes.
constexpr std::size_t largestBlock = 32766;
// The component sorts the host's lines within 32,767 characters.
constexpr std::size_t largestHostBlock = 200;

// After so many that fail in a row, the rest of a block is taken to fail for the same reason.
constexpr int mostFailures = 3;

std::vector<std::u16string_view> linesOf(std::u16string_view block)
{
    std::vector<std::u16string_view> lines;
    while (!block.empty()) {
        const auto end = std::min(block.find(site::lineEnd), block.size());
        lines.push_back(block.substr(0, end));
        block.remove_prefix(std::min(end + site::lineEnd.size(), block.size()));
    }
    return lines;
}

// Whether the component recorded why a line failed. What it recorded for an earlier line stays, and so must
// not be looked at for a message that the gateway sent, or for a line without an inventory number.
bool isRecorded(Kind kind, std::u16string_view message)
{
    switch (kind) {
    case Kind::database:
        return message.starts_with(site::databaseFailed);
    case Kind::gateway:
        return message == site::gatewayFailed;
    default:
        return message.empty();
    }
}

} // namespace

Asker::Asker(const Site& site, Kind kind) : kind_(kind), component_(site), situations_(site, kind)
{
    if (!component_.open(text::toUtf8(site::nameOf(kind))))
        throw std::runtime_error("the back end cannot be opened: " + component_.lastFailure().text());
    if (kind != Kind::host)
        setOwnLibrary(nobody);
}

std::size_t Asker::mostAtOnce() const noexcept
{
    return kind_ == Kind::database ? usualBlock : 1;
}

std::size_t Asker::mostAsOne() const noexcept
{
    return kind_ == Kind::host ? largestHostBlock : largestBlock;
}

std::vector<Answer> Asker::ask(const std::vector<std::u16string>& lines)
{
    std::vector<Answer> answers;
    answers.reserve(lines.size());
    for (std::size_t first = 0; first < lines.size(); first += mostAtOnce())
        askBlock(lines, first, std::min(first + mostAtOnce(), lines.size()), answers);
    return answers;
}

void Asker::askBlock(const std::vector<std::u16string>& lines, std::size_t first, std::size_t last,
                     std::vector<Answer>& answers)
{
    if (last - first == 1) {
        answers.push_back(askLine(lines[first]));
        return;
    }
    std::u16string block;
    for (std::size_t i = first; i < last; ++i)
        block.append(lines[i]).append(site::lineEnd);
    block = component_.answer(block);
    const auto found = linesOf(block);
    if (found.size() == last - first) {
        std::vector<Answer> judgedAnswers;
        for (const std::u16string_view line : found)
            judgedAnswers.push_back(judged(line));
        askFailedAgain({lines.begin() + static_cast<std::ptrdiff_t>(first),
                        lines.begin() + static_cast<std::ptrdiff_t>(last)},
                       judgedAnswers);
        std::ranges::move(judgedAnswers, std::back_inserter(answers));
        return;
    }
    // It failed as a whole, or a text of the site's has a line end in it: in halves, down to the line.
    const std::size_t middle = first + (last - first) / 2;
    askBlock(lines, first, middle, answers);
    askBlock(lines, middle, last, answers);
}

// The component keeps only what it recorded last, so each line that failed is asked once more, alone.
void Asker::askFailedAgain(const std::vector<std::u16string>& lines, std::vector<Answer>& answers)
{
    int failures = 0;
    std::optional<Failure> last;
    for (std::size_t i = 0; i < answers.size(); ++i) {
        Answer& answer = answers[i];
        if (answer.outcome != Outcome::failure) {
            failures = 0;
        } else if (failures < mostFailures) {
            answer = askLine(lines[i]);
            last = answer.failure;
            failures = answer.outcome == Outcome::failure ? failures + 1 : 0;
        } else if (last && answer.availability.ends_with(text::fromUtf8(last->description))) {
            answer.failure = last;
        }
    }
}

Answer Asker::askLine(const std::u16string& line)
{
    const std::u16string block = component_.answer(std::u16string(line).append(site::lineEnd));
    Answer answer;
    if (block.ends_with(site::lineEnd))
        answer = judged(std::u16string_view(block).substr(0, block.size() - site::lineEnd.size()));
    else
        answer.status = site::status::failure;
    if (answer.outcome != Outcome::failure)
        return answer;
    if (block.empty() || isRecorded(kind_, answer.availability))
        answer.failure = component_.lastFailure();
    if (answer.availability.empty())
        answer.availability = answer.failure ? text::fromUtf8(answer.failure->description) : u"no answer";
    return answer;
}

Asker::Text Asker::askAsOne(const std::vector<std::u16string>& lines)
{
    std::u16string block;
    for (const std::u16string& line : lines)
        block.append(line).append(site::lineEnd);
    Text text{component_.answer(block), {}};
    for (const std::u16string_view line : linesOf(text.lines))
        text.answers.push_back(judged(line));
    for (Answer& answer : text.answers)
        if (answer.outcome == Outcome::failure && isRecorded(kind_, answer.availability))
            answer.failure = component_.lastFailure();
    if (!text.lines.empty())
        return text;
    if (lines.size() == 1) {
        text.answers.push_back(askLine(lines.front()));
        return text;
    }
    const auto middle = lines.begin() + static_cast<std::ptrdiff_t>(lines.size() / 2);
    text = askAsOne({lines.begin(), middle});
    Text rest = askAsOne({middle, lines.end()});
    text.lines += rest.lines;
    std::ranges::move(rest.answers, std::back_inserter(text.answers));
    return text;
}

Answer Asker::judged(std::u16string_view line) const
{
    Answer answer = takeApart(kind_, line);
    situations_.judge(answer);
    return answer;
}

} // namespace vqloan::client
