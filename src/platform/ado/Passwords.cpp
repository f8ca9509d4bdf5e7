#include "platform/ado/Passwords.h"

#include <algorithm>
#include <vector>

#include "platform/ado/ConnectionString.h"
#include "platform/runtime/Text.h"

namespace vqloan::ado {

namespace {

constexpr std::size_t npos = std::u16string_view::npos;
constexpr std::u16string_view mask = u"********";

// Position behind the first word for a secret in a key, or in a driver's options, npos where there is none.
// Drivers have keys of their own: SSLPassword, Jet OLEDB:Database Password, TLSKeyPassphrase.
std::size_t behindSecretWord(std::u16string_view text)
{
    const std::u16string upper = text::upper(text);
    std::size_t first = npos, behind = npos;
    for (const std::u16string_view word : {u"PASSWORD", u"PASSWD", u"PWD", u"PASSPHRASE", u"SECRET"}) {
        const std::size_t at = upper.find(word);
        if (at < first) {
            first = at;
            behind = at + word.size();
        }
    }
    return behind;
}

bool isPasswordKey(std::u16string_view key)
{
    return behindSecretWord(key) != npos;
}

// What follows a password's name within a value such as pqopt's "connect_timeout=3 password=x"; empty where
// none is named.
std::u16string_view optionsWithPassword(std::u16string_view value)
{
    const std::size_t behind = behindSecretWord(value);
    return behind == npos || value.find(u'=', behind) == npos ? std::u16string_view() : value.substr(behind);
}

bool isWordCharacter(char16_t c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') || c > 127;
}

bool repeats(std::u16string_view text, std::u16string_view secret)
{
    constexpr std::size_t shortest = 4; // that is looked for within words
    const auto isWithinWord = [&](std::size_t at) {
        const std::size_t end = at + secret.size();
        return (at > 0 && isWordCharacter(text[at - 1])) || (end < text.size() && isWordCharacter(text[end]));
    };
    for (std::size_t at = text.find(secret); at != npos; at = text.find(secret, at + 1))
        if (secret.size() >= shortest || !isWithinWord(at))
            return true;
    return false;
}

class Secrets
{
public:
    void add(std::u16string_view secret)
    {
        if (!secret.empty())
            secrets_.emplace_back(secret);
    }
    void addOf(std::u16string_view connectionText)
    {
        try {
            const ConnectionString connection(connectionText);
            for (const auto& [key, value] : connection.pairs()) {
                if (isPasswordKey(key))
                    add(value);
                else if (text::equalsIgnoringCase(key, u"Extended Properties"))
                    addOf(value);
                else
                    addWordsOf(optionsWithPassword(value));
            }
        } catch (const RuntimeError&) {
            addWordsOf(connectionText); // it cannot be told what each of them is
        }
    }
    bool areIn(std::u16string_view text) const
    {
        return std::any_of(secrets_.begin(), secrets_.end(),
                           [text](const auto& secret) { return repeats(text, secret); });
    }

private:
    // A driver that cannot read its options may repeat any part of them.
    void addWordsOf(std::u16string_view options)
    {
        constexpr std::u16string_view dividers = u" \t\r\n=;'\"{}";
        while (!options.empty()) {
            const std::size_t end = std::min(options.find_first_of(dividers), options.size());
            add(options.substr(0, end));
            options.remove_prefix(std::min(end + 1, options.size()));
        }
    }

    std::vector<std::u16string> secrets_;
};

} // namespace

std::u16string shownPassword(std::u16string_view value)
{
    const bool isPlaceholder = value.size() > 2 && value.front() == placeholderSign &&
                               value.find(placeholderSign, 1) == value.size() - 1;
    return std::u16string(isPlaceholder || value.empty() ? value : mask);
}

std::u16string withoutPasswords(std::u16string_view connectionText)
{
    std::u16string shown;
    try {
        const ConnectionString connection(connectionText, ConnectionString::Placeholders::mayStandAlone);
        for (const auto& [key, value] : connection.pairs()) {
            if (!shown.empty())
                shown += u';';
            if (!key.empty())
                shown.append(key).append(u"=");
            if (isPasswordKey(key) || key.find(placeholderSign) != key.npos)
                shown += shownPassword(value);
            else if (text::equalsIgnoringCase(key, u"Extended Properties"))
                shown += enclosed(withoutPasswords(value));
            else
                shown += optionsWithPassword(value).empty() ? enclosed(value) : std::u16string(mask);
        }
    } catch (const RuntimeError&) {
        return std::u16string(mask);
    }
    return shown;
}

void hidePasswords(RuntimeError& failure, std::u16string_view connectionText, std::u16string_view password)
{
    Secrets secrets;
    secrets.add(password);
    secrets.addOf(connectionText);
    if (!secrets.areIn(failure.description))
        return;
    const std::size_t opening = failure.description.rfind(u" (");
    std::u16string state;
    if (opening != npos && failure.description.ends_with(u')'))
        state = failure.description.substr(opening);
    if (secrets.areIn(state))
        state.clear();
    failure.description = u"The database's message is not shown: it holds a part of the password" + state;
}

} // namespace vqloan::ado
