#include "platform/ado/odbc/OdbcConnectionText.h"

#include <algorithm>
#include <vector>

#include "platform/runtime/Text.h"

namespace vqloan::odbc {

namespace {

// ADO's name and ODBC's; null where the key is ADO's alone.
struct KeyName
{
    std::u16string_view ado;
    const char16_t* odbc;
};
constexpr KeyName keyNames[] = {{u"Provider", nullptr},   {u"Persist Security Info", nullptr},
                                {u"Data Source", u"DSN"}, {u"User ID", u"UID"},
                                {u"Password", u"PWD"},    {u"Initial Catalog", u"DATABASE"}};

class Keys
{
public:
    void add(const ConnectionString& text)
    {
        for (const auto& [key, value] : text.pairs()) {
            if (text::equalsIgnoringCase(key, u"Extended Properties"))
                add(ConnectionString(value));
            else
                addNamed(key, value);
        }
    }
    // The last of equal keys counts, as ADO has it; a driver would take the first.
    void set(std::u16string_view key, std::u16string_view value)
    {
        const auto known = std::find_if(pairs_.begin(), pairs_.end(), [key](const auto& pair) {
            return text::equalsIgnoringCase(pair.key, key);
        });
        if (known != pairs_.end())
            known->value = value;
        else
            pairs_.push_back({std::u16string(key), std::u16string(value)});
    }
    std::u16string text() const
    {
        std::u16string whole;
        for (const auto& [key, value] : pairs_)
            whole.append(key).append(u"=").append(enclosed(value)).append(u";");
        return whole;
    }

private:
    void addNamed(std::u16string_view key, std::u16string_view value)
    {
        for (const KeyName& name : keyNames) {
            if (text::equalsIgnoringCase(key, name.ado)) {
                if (name.odbc)
                    set(name.odbc, value);
                return;
            }
        }
        set(key, value);
    }

    std::vector<ConnectionString::Pair> pairs_;
};

} // namespace

std::u16string connectionText(const OpenRequest& request)
{
    Keys keys;
    keys.add(request.connection);
    if (!request.userId.empty())
        keys.set(u"UID", request.userId);
    if (!request.password.empty())
        keys.set(u"PWD", request.password);
    return keys.text();
}

} // namespace vqloan::odbc
