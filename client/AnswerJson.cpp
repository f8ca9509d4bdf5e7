#include "AnswerJson.h"

#include <iterator>
#include <nlohmann/json.hpp>

#include "platform/runtime/Text.h"
#include "site/Texts.h"

namespace vqloan::client {

namespace {

constexpr const char* requestNames[] = {"library", "shelf", "inventory", "note"};

std::u16string_view fieldOf(const std::vector<std::u16string>& fields, std::size_t i)
{
    return i < fields.size() ? std::u16string_view(fields[i]) : std::u16string_view();
}

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
    using Object = nlohmann::ordered_json;
    const auto asked = split(request, site::tab);
    Object object;
    for (std::size_t i = 0; i < std::size(requestNames); ++i)
        object["request"][requestNames[i]] = text::toUtf8(fieldOf(asked, i));
    object["outcome"] = nameOf(answer.outcome);
    object["status"] = answer.status;
    object["library"] = text::toUtf8(answer.library);
    object["availability"] = text::toUtf8(answer.availability);
    if (answer.date)
        object["date"] = *answer.date;
    if (const auto& failure = answer.failure)
        object["failure"] = {{"number", failure->number},
                             {"source", failure->source},
                             {"description", failure->description},
                             {"system_error", failure->systemError}};
    Object& fields = object["fields"] = Object::array();
    for (const std::u16string& field : answer.fields)
        fields.push_back(text::toUtf8(field));
    return object.dump();
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
