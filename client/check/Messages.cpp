// The messages that a kind tells: there, read, whole.
#include "site/Messages.h"
#include "check/Checks.h"
#include "platform/runtime/RuntimeError.h"
#include "platform/runtime/Text.h"
#include "platform/runtime/Variant.h"
#include "site/Texts.h"

namespace vqloan::client {

void checkMessages(const Settings& settings, Kind kind, Report& report)
{
    const site::Setting& setting = site::setting(u"MESSAGGI", u"NUMMSG");
    std::size_t count = 0;
    try {
        const std::int16_t number = Variant(settings.value(setting)).toInteger();
        count = number > 0 ? static_cast<std::size_t>(number) : 0;
    } catch (const RuntimeError&) {
        return; // told with the values
    }
    report.section(u"Messages of kind " + std::u16string(site::nameOf(kind)),
                   {u"Code", u"Situation", u"Text"});
    std::u16string notRead;
    for (std::size_t i = 0; i < std::size(site::messages); ++i) {
        const site::MessageRow& message = site::messages[i];
        if (message.reporter != kind)
            continue;
        const site::Setting row = site::messageText(message.code);
        const std::u16string text = settings.value(row);
        const std::u16string told = text.substr(0, text.find(site::tab));
        report.fact(
            {std::u16string(message.code), std::u16string(message.situation), i < count ? told : u""});
        if (text.empty())
            report.finding(settings.placeOf(row), u"The message has no text: nothing is told.",
                           u"Write what a reader is to be told: " + std::u16string(message.situation) + u".");
        else if (i >= count)
            appendTo(notRead, message.code);
        if (told.size() < text.size())
            report.finding(settings.placeOf(row), u"The message is cut at its TAB.",
                           u"Write blanks instead.");
    }
    if (!notRead.empty())
        report.finding(settings.placeOf(setting), u"These messages are not read: " + notRead + u".",
                       u"Write NUMMSG=" + decimal(std::size(site::messages)) + u".");
}

} // namespace vqloan::client
