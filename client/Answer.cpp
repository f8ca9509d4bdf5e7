#include "Answer.h"

#include "platform/runtime/Text.h"
#include "site/Texts.h"

namespace vqloan::client {

namespace {

// The fields that are not empty, with `separator` between them. Status texts come padded with blanks.
std::u16string join(const std::vector<std::u16string>& fields, std::size_t first,
                    std::u16string_view separator)
{
    std::u16string all;
    for (std::size_t i = first; i < fields.size(); ++i) {
        const std::u16string_view field = text::trimRight(fields[i]);
        if (field.empty())
            continue;
        if (!all.empty())
            all += separator;
        all += field;
    }
    return all;
}

// Every answered line ends in a TAB, and a failed one has none there: a note may well begin as a failed line
// does.
bool isFailureLine(const std::vector<std::u16string>& fields)
{
    return fields.size() >= 3 && fields.front().starts_with(site::failedLabel) && !fields.back().empty();
}

} // namespace

std::string_view nameOf(Outcome outcome) noexcept
{
    constexpr std::string_view names[] = {"answer", "skipped", "timeout", "failure"};
    return names[static_cast<std::size_t>(outcome)];
}

std::vector<std::u16string> split(std::u16string_view text, std::u16string_view separator)
{
    std::vector<std::u16string> parts;
    for (;;) {
        const auto end = text.find(separator);
        parts.emplace_back(text.substr(0, end));
        if (end == text.npos)
            return parts;
        text.remove_prefix(end + separator.size());
    }
}

Answer takeApart(Kind kind, std::u16string_view line)
{
    Answer answer;
    answer.fields = split(line, site::tab);
    auto fields = answer.fields;
    if (isFailureLine(fields)) {
        answer.library = fields[0].substr(site::failedLabel.size());
        answer.availability = join(fields, 2, u" ");
        return answer;
    }
    if (kind == Kind::host) {
        // name, availability, message
        answer.library = fields[0];
        answer.availability = join(fields, 1, u": ");
        if (!answer.availability.empty())
            answer.outcome = fields[1] == site::notVerifiable ? Outcome::skipped : Outcome::answer;
        return answer;
    }
    // description of the copy, library, the same description with the back end's text after it, message
    if (fields.size() < 3)
        return answer;
    answer.library = fields[1];
    fields[2].erase(0, fields[0].size());
    answer.availability = join(fields, 2, u" ");
    // A record whose texts are not configured is an answer all the same; without a record there are 5 fields.
    if (!answer.availability.empty() || fields.size() > 5)
        answer.outcome = Outcome::answer;
    return answer;
}

} // namespace vqloan::client
