#include "Situations.h"

#include <algorithm>
#include <stdexcept>

#include "Parameters.h"
#include "component/DispSvr.h"
#include "platform/runtime/Numbers.h"
#include "platform/runtime/OsFile.h"
#include "platform/runtime/RuntimeError.h"
#include "platform/runtime/Text.h"
#include "site/Messages.h"
#include "site/Texts.h"

namespace vqloan::client {

namespace {

using site::Message;

// What the component makes of a text of CLIENT.PAR: TABs become blanks, and it is cut to the width of
// answers.
std::u16string asAnswer(const Parameters& parameters, site::Line line)
{
    std::u16string text(text::trim(parameters.value(line)));
    const double width = numbers::leadingNumber(parameters.value(site::Line::width)) - 2;
    if (width >= 0 && static_cast<double>(text.size()) > width)
        text.resize(static_cast<std::size_t>(width));
    return text;
}

// "DD-MM-YYYY" as YYYY-MM-DD.
std::optional<std::string> isoDate(std::u16string_view date)
{
    constexpr std::u16string_view form = u"00-00-0000";
    const auto fits = [](char16_t unit, char16_t place) {
        return place == u'0' ? unit >= u'0' && unit <= u'9' : unit == place;
    };
    if (!std::ranges::equal(date, form, fits))
        return std::nullopt;
    const std::string digits = text::toUtf8(date);
    return digits.substr(6) + '-' + digits.substr(3, 2) + '-' + digits.substr(0, 2);
}

// As the component reads them.
CodeTable messagesOf(const Site& site)
{
    try {
        DispSvr reader;
        reader.SettingsDir = os::pathText(site.directory());
        reader.Load_Messa();
        return reader.TabMessa;
    } catch (const RuntimeError& error) {
        throw std::runtime_error("the messages cannot be read: " + text::toUtf8(error.description));
    }
}

} // namespace

Situations::Situations(const Site& site, Kind kind) : kind_(kind)
{
    if (kind == Kind::host) {
        const Parameters parameters(site);
        timeOut_ = asAnswer(parameters, site::Line::timeOutText);
        return;
    }
    const CodeTable messages = messagesOf(site);
    const auto text = [&](Message message) { return DispSvr::Find_Messa(site::codeOf(message), messages); };
    for (const Message message : site::precedence)
        texts_.emplace(text::trimRight(text(message)), site::statusOf(message));
    texts_.erase(u""); // says nothing
    inFront_ = text(Message::noStatusText);
    if (kind == Kind::gateway)
        timeOut_ = std::u16string(text(Message::noAnswer)) + u' '; // the component puts a blank behind it
}

void Situations::judge(Answer& answer) const
{
    answer.status = statusOf(answer);
    if (answer.status == site::statusOf(Message::noAnswer))
        answer.outcome = Outcome::timeout;
    if (answer.status == site::statusOf(Message::onLoan) && answer.fields.size() > 4)
        answer.date = isoDate(answer.fields[4]);
}

std::string_view Situations::statusOf(const Answer& answer) const
{
    if (answer.outcome == Outcome::failure)
        return site::status::failure;
    if (answer.outcome == Outcome::skipped)
        return site::status::skipped;
    if (kind_ == Kind::host)
        return !timeOut_.empty() && answer.fields.at(1) == timeOut_ ? site::statusOf(Message::noAnswer)
                                                                    : site::status::unknown;
    // The text follows the description of the copy, or stands in the next field.
    const std::u16string_view behind =
        std::u16string_view(answer.fields[2])
            .substr(std::min(answer.fields[0].size(), answer.fields[2].size()));
    if (kind_ == Kind::gateway && answer.fields.size() == 5 && behind == timeOut_)
        return site::statusOf(Message::noAnswer);
    if (!behind.empty())
        return find(behind);
    const auto text =
        answer.fields.size() > 3 ? std::u16string_view(answer.fields[3]) : std::u16string_view();
    std::string_view found = find(text);
    if (found == site::status::unknown && !inFront_.empty() && text.starts_with(inFront_))
        found = find(text.substr(inFront_.size()));
    const bool isSpecial = found == site::status::unknown && kind_ == Kind::database && !text.empty();
    return isSpecial ? site::status::specialStatus : found;
}

std::string_view Situations::find(std::u16string_view text) const
{
    const auto found = texts_.find(text::trimRight(text));
    return found == texts_.end() ? site::status::unknown : found->second;
}

} // namespace vqloan::client
