// The values of SvrDisp.ini: what a kind makes of each one.
#include <algorithm>
#include <limits>

#include "check/Checks.h"
#include "config/Placeholders.h"
#include "config/PositionPair.h"
#include "platform/ado/Passwords.h"
#include "platform/runtime/Numbers.h"
#include "platform/runtime/OsProcess.h"
#include "platform/runtime/RuntimeError.h"
#include "platform/runtime/Text.h"
#include "platform/runtime/Variant.h"

namespace vqloan::client {

namespace {

using site::Form;
using site::Setting;

constexpr std::int32_t anyLong = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t day = 24 * 60 * 60;

// What a number must be beyond being one.
struct Limit
{
    std::u16string_view section, key;
    std::int32_t least, most;
    std::u16string_view otherwise; // what comes of another one
    std::u16string_view advice;
    bool opens; // all the same
};

constexpr Limit limits[] = {
    {u"SERVER", u"TIMEOUT", 0, anyLong, u"is not used: the database's own limit holds",
     u"Write seconds, or 0 for the database's own.", true},
    {u"SERVER", u"COMMTIMEOUT", 0, anyLong, u"is not used: the database's own limit holds",
     u"Write seconds, or 0 for the database's own.", true},
    {u"SERVER", u"CURSOR", 0, 3, u"is no place of a cursor",
     u"Write 2 (server), 3 (client) or 0 (the database's own).", false},
    {u"SERVER", u"OPTIONS", -1, 0, u"does not open the database before it is used", u"Write -1.", true},
    {u"CLIENT", u"ID", 0, anyLong, u"is no client's number", u"Write this client's own number, from 0.",
     true},
    {u"CLIENT", u"TIMEOUT", 1, anyLong, u"lets no gateway answer in time",
     u"Write as many seconds as a reader would wait, for example 5.", true},
    // A question's deadline is a moment on a clock of 32 bits that counts milliseconds from the system's
    // start.
    {u"CLIENT", u"TIMEOUT", std::numeric_limits<std::int32_t>::min(), day,
     u"is longer than a day: every question fails where the clock ends sooner",
     u"Write as many seconds as a reader would wait, for example 5.", true},
};

// As plain digits, which read the same everywhere.
bool isPlainNumber(std::u16string_view value)
{
    value = text::trim(value);
    if (value.starts_with(u'-'))
        value.remove_prefix(1);
    return !value.empty() && value.find_first_not_of(u"0123456789") == value.npos;
}

bool isPlainPair(std::u16string_view value)
{
    const auto comma = value.find(u',');
    const auto isPosition = [](std::u16string_view part) {
        return isPlainNumber(part) && text::trim(part).front() != u'-';
    };
    return isPosition(value.substr(0, comma)) && (comma == value.npos || isPosition(value.substr(comma + 1)));
}

// The variables of §NAME§ that the environment does not have.
std::u16string variablesNotSet(std::u16string_view value)
{
    std::u16string names;
    for (std::size_t at = value.find(site::placeholderSign); at != value.npos;) {
        const auto end = value.find(site::placeholderSign, at + 1);
        if (end == value.npos)
            break;
        const std::u16string name(value.substr(at + 1, end - at - 1));
        if (!os::environmentVariable(name))
            appendTo(names, name);
        at = value.find(site::placeholderSign, end + 1);
    }
    return names;
}

class ValuesCheck
{
public:
    ValuesCheck(const Settings& settings, Report& report) : settings_(settings), report_(report) {}

    bool run(Kind kind)
    {
        for (const Setting& setting : site::settings)
            if (setting.isReadBy(kind))
                judge(setting);
        return opens_;
    }

private:
    void judge(const Setting& setting)
    {
        place_ = settings_.placeOf(setting);
        const std::u16string value = settings_.value(setting);
        std::u16string shown = value;
        if (setting.form == Form::secret)
            shown = ado::shownPassword(value);
        if (setting.form == Form::connection)
            shown = ado::withoutPasswords(value);
        report_.fact({std::u16string(setting.section), std::u16string(setting.key), shown,
                      settings_.find(setting) ? u"" : u"default"});
        switch (setting.form) {
        case Form::number:
        case Form::shortNumber:
            number(setting, value);
            break;
        case Form::pair:
            pair(setting, value);
            break;
        case Form::account:
        case Form::secret:
        case Form::connection:
            placeholders(setting, value);
            break;
        case Form::text:
            break;
        }
    }

    void number(const Setting& setting, const std::u16string& value)
    {
        const bool isShort = setting.form == Form::shortNumber;
        std::int32_t number = 0;
        try {
            number = isShort ? Variant(value).toInteger() : Variant(value).toLong();
        } catch (const RuntimeError& error) {
            const bool tooLarge = error.number == static_cast<std::int32_t>(vqloan::Failure::Overflow);
            fail(inQuotes(value) +
                     (tooLarge ? u" is too large: at most " + decimal(isShort ? 32767 : anyLong)
                               : u" is not a number") +
                     u".",
                 u"Write a whole number, or take the line out for " + std::u16string(setting.byDefault) +
                     u".");
            return;
        }
        if (!isPlainNumber(value))
            report_.finding(place_, inQuotes(value) + u" is read as " + text::decimal(number) + u".",
                            u"Write it in digits.");
        for (const Limit& limit : limits)
            if (limit.section == setting.section && limit.key == setting.key &&
                (number < limit.least || number > limit.most)) {
                report_.finding(place_, text::decimal(number) + u" " + std::u16string(limit.otherwise) + u".",
                                std::u16string(limit.advice));
                opens_ = opens_ && limit.opens;
            }
    }

    void pair(const Setting& setting, const std::u16string& value)
    {
        const bool mayBeEmpty = setting.byDefault.empty();
        const std::u16string advice = u"Write START or START,LENGTH, positions counted from 1.";
        std::int16_t start = 0, length = 0;
        try {
            settings::readPositionPair(
                value, mayBeEmpty ? settings::WhenEmpty::keepStart : settings::WhenEmpty::fail, start,
                length);
        } catch (const RuntimeError&) {
            fail(value.empty() ? u"It is empty: no database opens."
                               : inQuotes(value) + u" is too large: at most 32767.",
                 advice);
            return;
        }
        std::u16string read = text::decimal(start);
        if (length != 0)
            read.append(u",").append(text::decimal(length));
        if (start < 1 || length < 0)
            report_.finding(place_, inQuotes(value) + u" is no part of a text: every question fails.",
                            advice);
        else if (!value.empty() && (!isPlainPair(value) || numbers::leadingNumber(value) != start))
            report_.finding(place_, inQuotes(value) + u" is read as " + inQuotes(read) + u".", advice);
    }

    void placeholders(const Setting& setting, const std::u16string& value)
    {
        std::u16string resolved = value;
        if (setting.form == Form::connection ? settings::resolveAll(resolved)
                                             : settings::resolveWhole(resolved)) {
            if (setting.form == Form::connection && std::ranges::count(value, site::placeholderSign) % 2 == 1)
                report_.finding(place_, u"A \u00A7 in it has no second one: it stands for itself.",
                                u"Write §NAME§ for the environment variable NAME.");
            return;
        }
        const bool isWhole =
            setting.form == Form::connection || value.find(site::placeholderSign, 1) == value.size() - 1;
        const std::u16string names = isWhole ? variablesNotSet(value) : u"";
        if (!isWhole)
            fail(u"It begins with § and is no placeholder as a whole.", u"Write §NAME§ and nothing else.");
        else if (names.empty())
            fail(u"It has a placeholder whose value cannot be resolved: it holds a placeholder itself.",
                 u"Give the environment variable a value without §.");
        else
            fail(u"The environment variable " + names + u" is not set.",
                 u"Set it for the processes of the clients, and for this command.");
    }

    void fail(std::u16string what, std::u16string advice)
    {
        report_.finding(place_, std::move(what), std::move(advice));
        opens_ = false;
    }

    const Settings& settings_;
    Report& report_;
    Place place_;
    bool opens_ = true;
};

} // namespace

bool checkValues(const Settings& settings, Kind kind, Report& report)
{
    report.section(u"Settings of kind " + std::u16string(site::nameOf(kind)),
                   {u"Section", u"Key", u"Value", u"Default"});
    const bool opens = ValuesCheck(settings, report).run(kind);
    if (kind == Kind::database) {
        const Setting &password = site::setting(u"SERVER", u"PASSWORD"),
                      &connect = site::setting(u"SERVER", u"CONNECT");
        if (settings.value(site::setting(u"SERVER", u"USERNAME")).empty() &&
            !settings.value(password).empty())
            report.finding(settings.placeOf(password), u"It is not used, since USERNAME is empty.",
                           u"Set USERNAME, or take PASSWORD out.");
        if (settings.value(connect).empty()) {
            report.finding(settings.placeOf(connect), u"It is empty.",
                           u"Write there how the database is reached; docs/databases.md has examples.");
            return false;
        }
    }
    return opens;
}

std::u16string joined(std::initializer_list<std::u16string_view> pieces)
{
    std::u16string whole;
    for (const std::u16string_view piece : pieces)
        whole.append(piece);
    return whole;
}

std::u16string inQuotes(std::u16string_view text)
{
    return joined({u"\"", text, u"\""});
}

std::u16string decimal(std::size_t number)
{
    return text::decimal(static_cast<std::int64_t>(number));
}

void appendTo(std::u16string& list, std::u16string_view item)
{
    if (!list.empty())
        list += u", ";
    list += item;
}

} // namespace vqloan::client
