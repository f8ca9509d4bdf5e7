#include "http/ClientNumbers.h"

#include <algorithm>
#include <fstream>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <system_error>

#include "Input.h"
#include "Log.h"
#include "external/SysTools.h"
#include "platform/program/Paths.h"
#include "platform/program/Program.h"
#include "platform/runtime/Numbers.h"
#include "platform/runtime/OsFile.h"
#include "platform/runtime/RuntimeError.h"
#include "platform/runtime/Text.h"

namespace fs = std::filesystem;

namespace vqloan::client::http {

namespace {

constexpr const site::Setting &gatewayNumber = site::setting(u"CLIENT", u"ID"),
                              &messageCount = site::setting(u"MESSAGGI", u"NUMMSG");

void write(const fs::path& file, const std::string& content)
{
    std::ofstream out(file, std::ios::binary);
    if (!(out << content).flush())
        throw std::runtime_error("cannot write " + file.string());
}

// What a gateway's client reads of SvrDisp.ini, with another number. Each value in quotes, of which one pair
// is taken off, so that those and the blanks of a value's own stay.
std::string settingsWith(const Site& site, const std::string& number)
{
    std::shared_ptr<IniFile> file = createIniFile();
    file->SetFile(os::pathText(site.settings()));
    const auto find = [&](const site::Setting& setting) {
        const std::u16string absent = u"\n"; // which no line of a settings file can hold
        const std::u16string value = sysTools().ReadIni(setting.section, setting.key, absent, file).toText();
        return value == absent ? std::nullopt : std::optional(value);
    };
    std::u16string all, section;
    const auto add = [&](const site::Setting& setting, std::u16string_view value) {
        if (section != setting.section)
            all.append(u"[").append(section = setting.section).append(u"]\r\n");
        all.append(setting.key).append(u"=\"").append(value).append(u"\"\r\n");
    };
    for (const site::Setting& setting : site::settings)
        if (&setting == &gatewayNumber)
            add(setting, text::fromUtf8(number));
        else if (const auto value = setting.isReadBy(site::Kind::gateway) ? find(setting) : std::nullopt)
            add(setting, *value);
    const auto count =
        numbers::leadingNumber(find(messageCount).value_or(std::u16string(messageCount.byDefault)));
    for (int i = 1; i <= std::min(count, 1000.0); ++i) {
        const std::u16string key = text::decimal(i);
        const site::Setting message = site::messageText(key);
        if (const auto value = find(message))
            add(message, *value);
    }
    return "\xEF\xBB\xBF" + text::toUtf8(all);
}

// CLIENT.PAR with another number in its first line.
std::string parametersWith(const Site& site, const std::string& number)
{
    std::string all = readFile(site.parameters());
    const auto end = std::min(all.find('\r'), all.size());
    return "CLIENT=" + number + all.substr(end);
}

} // namespace

ClientNumbers::ClientNumbers(const Site& site, site::Kind kind, const std::vector<std::string>& numbers)
{
    if (numbers.empty())
        return;
    std::set<int> different;
    try {
        directory_ = program::makePrivateDirectory(fs::temp_directory_path(), "vqloan-");
        for (const std::string& number : numbers) {
            const bool isHost = kind == site::Kind::host;
            if (number.empty() || number.size() > (isHost ? 2 : 9) ||
                number.find_first_not_of("0123456789") != number.npos)
                throw std::runtime_error("no client number: " + printable(number));
            if (!different.insert(std::stoi(number)).second)
                throw std::runtime_error("a client number is named twice: " + number);
            const fs::path own = directory_ / number;
            fs::create_directory(own);
            if (isHost)
                write(own / site::hostFile, parametersWith(site, number));
            else
                write(own / site::settingsFile, settingsWith(site, number));
            sites_.emplace_back(program::utf8Of(own));
        }
    } catch (const RuntimeError& error) {
        remove();
        throw std::runtime_error("SvrDisp.ini cannot be read: " + text::toUtf8(error.description));
    } catch (...) {
        remove();
        throw;
    }
}

void ClientNumbers::remove() noexcept
{
    std::error_code ignored;
    if (!directory_.empty())
        fs::remove_all(directory_, ignored);
}

} // namespace vqloan::client::http
