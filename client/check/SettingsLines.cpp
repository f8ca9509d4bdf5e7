// Lines of SvrDisp.ini that nothing reads.
#include <algorithm>
#include <map>
#include <set>

#include "Nearest.h"
#include "check/Checks.h"
#include "platform/runtime/Text.h"
#include "site/Messages.h"

namespace vqloan::client {

namespace {

using standins::SettingsLine;

// The keys that are read, by section.
std::map<std::string, std::vector<std::string>> namesRead()
{
    std::map<std::string, std::vector<std::string>> names;
    for (const site::Setting& setting : site::settings)
        names[text::toUtf8(setting.section)].push_back(text::toUtf8(setting.key));
    for (const site::MessageRow& message : site::messages)
        names[text::toUtf8(site::messageText(message.code).section)].push_back(text::toUtf8(message.code));
    return names;
}

bool holds(const std::vector<std::string>& names, const std::string& name)
{
    return std::ranges::find(names, name) != names.end();
}

std::string upperUtf8(std::u16string_view name)
{
    return text::toUtf8(text::upper(name));
}

class LinesCheck
{
public:
    LinesCheck(const Settings& settings, Report& report) : settings_(settings), report_(report) {}

    void run()
    {
        for (const SettingsLine& line : settings_.lines())
            if (line.role == SettingsLine::Role::section)
                section(line);
            else
                entry(line);
    }

private:
    void section(const SettingsLine& line)
    {
        const std::string name = upperUtf8(line.section);
        const std::u16string shown = u"[" + line.section + u"]";
        isRead_ = names_.contains(name) && line.counts;
        if (!names_.contains(name)) {
            std::vector<std::string> sections;
            for (const auto& [section, keys] : names_)
                sections.push_back(section);
            found(line, shown, u"Nothing reads the section " + shown, nearest(name, sections));
        } else if (!line.counts) {
            report_.finding(at(line, shown), u"The section " + shown + u" stands further up already.",
                            u"Put its keys there: only the first one is read.");
        }
    }

    void entry(const SettingsLine& line)
    {
        if (!isRead_ && !line.section.empty())
            return; // its section is told
        const std::u16string name = keyName(line.section, line.key);
        const bool hasKey = line.role == SettingsLine::Role::value;
        if (line.section.empty())
            report_.finding(at(line, hasKey ? line.key : u""),
                            u"The line stands in front of the first section.", u"Put it into its section.");
        else if (!hasKey) // it is not shown: it may be a password
            report_.finding(at(line, u"[" + line.section + u"]"), u"The line has no \"=\": it is not read.",
                            u"Write KEY=VALUE, or make it a comment with \";\" in front.");
        else if (!holds(names_.at(upperUtf8(line.section)), upperUtf8(line.key)))
            unknownKey(line, name);
        else if (!line.counts)
            report_.finding(at(line, name), name + u" stands further up already.",
                            u"Take one of the two out: the first one is read.");
        else if (hasOneQuote(settings_.find({line.section, line.key, u"", site::Form::text, Kind::none})))
            report_.finding(at(line, name), name + u" has a quote at one end only: it counts as a character.",
                            u"Put quotes around the value, or none.");
    }

    void unknownKey(const SettingsLine& line, const std::u16string& name)
    {
        const std::string key = upperUtf8(line.key);
        for (const auto& [section, keys] : names_)
            if (holds(keys, key)) {
                report_.finding(at(line, name), u"Nothing reads " + name + u".",
                                u"It belongs in [" + text::fromUtf8(section) + u"].");
                return;
            }
        const bool isNumber = key.find_first_not_of("0123456789") == key.npos;
        const std::string withoutZeros = key.substr(std::min(key.find_first_not_of('0'), key.size()));
        const auto& keys = names_.at(upperUtf8(line.section));
        if (isNumber)
            found(line, name, u"Nothing tells " + name, holds(keys, withoutZeros) ? withoutZeros : "");
        else
            found(line, name, u"Nothing reads " + name, nearest(key, keys));
    }

    static bool hasOneQuote(const std::optional<std::u16string>& value)
    {
        return value && !value->empty() && (value->front() == u'"') != (value->back() == u'"');
    }

    static Place at(const SettingsLine& line, std::u16string key)
    {
        return {std::u16string(site::settingsFile), line.number, std::move(key)};
    }

    void found(const SettingsLine& line, const std::u16string& key, std::u16string what,
               const std::string& meant)
    {
        what += meant.empty() ? u"." : u": did you mean " + text::fromUtf8(meant) + u"?";
        report_.finding(at(line, key), std::move(what), u"Correct it, or take it out.");
    }

    const Settings& settings_;
    Report& report_;
    const std::map<std::string, std::vector<std::string>> names_ = namesRead();
    bool isRead_ = false;
};

} // namespace

void checkSettingsLines(const Settings& settings, Report& report)
{
    LinesCheck(settings, report).run();
}

} // namespace vqloan::client
