#include "AnswerJson.h"

#include <iterator>
#include <nlohmann/json.hpp>
#include <utility>

#include "platform/runtime/Text.h"
#include "site/Texts.h"

namespace vqloan::client {

namespace {

constexpr const char* requestNames[] = {"library", "shelf", "inventory", "note"};

std::u16string_view fieldOf(const std::vector<std::u16string>& fields, std::size_t i)
{
    return i < fields.size() ? std::u16string_view(fields[i]) : std::u16string_view();
}

using Json = nlohmann::ordered_json;

// The members of an object in their order. Assigned to the object one by one, each would be looked for among
// the others first, and those copied whenever there is no more room: a third of the time of an object.
class Members
{
public:
    explicit Members(std::size_t count) { members_.reserve(count); }
    template <class Value> void add(const char* name, Value&& value)
    {
        members_.emplace_back(name, std::forward<Value>(value));
    }
    Json object() { return std::move(members_); }

private:
    Json::object_t members_;
};

std::string csvField(std::string text)
{
    if (text.find_first_of("\",\r\n") == text.npos)
        return text;
    for (std::size_t at = text.find('"'); at != text.npos; at = text.find('"', at + 2))
        text.insert(at, 1, '"');
    return '"' + text + '"';
}

} // namespace

std::string toJson(std::u16string_view request, const Answer& answer)
{
    const auto asked = split(request, site::tab);
    Members members(8), copy(std::size(requestNames));
    for (std::size_t i = 0; i < std::size(requestNames); ++i)
        copy.add(requestNames[i], text::toUtf8(fieldOf(asked, i)));
    members.add("request", copy.object());
    members.add("outcome", nameOf(answer.outcome));
    members.add("status", answer.status);
    members.add("library", text::toUtf8(answer.library));
    members.add("availability", text::toUtf8(answer.availability));
    if (answer.date)
        members.add("date", *answer.date);
    if (const auto& failure = answer.failure)
        members.add("failure", Json{{"number", failure->number},
                                    {"source", failure->source},
                                    {"description", failure->description},
                                    {"system_error", failure->systemError}});
    Json::array_t fields;
    fields.reserve(answer.fields.size());
    for (const std::u16string& field : answer.fields)
        fields.emplace_back(text::toUtf8(field));
    members.add("fields", std::move(fields));
    return members.object().dump();
}

std::string csvHeading()
{
    return "library,shelf,inventory,note,outcome,status,answered_library,availability,date,failure";
}

std::string toCsv(std::u16string_view request, const Answer& answer)
{
    const auto asked = split(request, site::tab);
    std::string record;
    for (std::size_t i = 0; i < std::size(requestNames); ++i)
        record += csvField(text::toUtf8(fieldOf(asked, i))) + ',';
    record.append(nameOf(answer.outcome)).append(",").append(answer.status).append(",");
    record += csvField(text::toUtf8(answer.library)) + ',' + csvField(text::toUtf8(answer.availability)) +
              ',' + answer.date.value_or("") + ',';
    return answer.failure ? record + std::to_string(answer.failure->number) : record;
}

} // namespace vqloan::client
