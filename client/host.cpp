// vqloan host: answers an exchange directory for the "7000" back end from a plain table file.
//
// The table is UTF-8 text, one copy a line: library code, TAB, inventory number, TAB, answer. "*" in place of
// an inventory number answers for every copy of that library that has no line of its own, and "*" as library
// as well for every other copy. Only the last six characters of an inventory number count, since a request
// carries no more. Empty lines and lines that begin with # are passed over.
#include <algorithm>
#include <atomic>
#include <map>
#include <memory>
#include <stdexcept>

#include "Answer.h"
#include "Commands.h"
#include "Input.h"
#include "Parameters.h"
#include "Server.h"
#include "platform/program/Paths.h"
#include "platform/runtime/Numbers.h"
#include "platform/runtime/Text.h"
#include "site/Exchange.h"
#include "site/Texts.h"

namespace vqloan::client {

namespace {

class HostTable
{
public:
    explicit HostTable(const std::string& file)
    {
        const std::string bytes = readFile(program::pathOf(file));
        if (!text::isUtf8(bytes))
            throw std::runtime_error(file + " is not UTF-8");
        std::u16string table = text::fromUtf8(bytes);
        if (table.starts_with(u'\uFEFF'))
            table.erase(0, 1);
        int number = 0;
        for (std::u16string_view line : split(table, u"\n")) {
            ++number;
            if (line.ends_with(u'\r'))
                line.remove_suffix(1);
            if (line.empty() || line.front() == u'#')
                continue;
            const auto fields = split(line, site::tab);
            if (fields.size() != 3 || (fields[0].size() != 2 && fields[0] != u"*"))
                throw std::runtime_error(file + ", line " + std::to_string(number) +
                                         ": expected are library code, of two characters, inventory number "
                                         "and answer, with TABs between");
            answers_[fields[0] + std::u16string(site::hostInventory(fields[1]))] = fields[2];
        }
    }

    // "WL,", two characters of library code, and the inventory number.
    std::u16string answer(std::u16string_view request) const
    {
        if (!request.starts_with(site::commandStart) || request.size() < site::commandStart.size() + 2)
            return std::u16string(site::invalidRequest);
        const std::u16string copy(request.substr(site::commandStart.size()));
        for (const auto& key : {copy, copy.substr(0, 2) + u"*", std::u16string(u"**")})
            if (const auto found = answers_.find(key); found != answers_.end())
                return found->second;
        return u"Copia sconosciuta";
    }

private:
    std::map<std::u16string, std::u16string> answers_; // by library code and inventory number
};

class Host : public Answerer
{
public:
    explicit Host(std::shared_ptr<const HostTable> table) : table_(std::move(table)) {}
    std::u16string answer(std::u16string_view request, bool whole, std::chrono::milliseconds) override
    {
        return whole ? table_->answer(request) : std::u16string(site::invalidRequest);
    }

private:
    std::shared_ptr<const HostTable> table_;
};

// Line 2 of CLIENT.PAR, where the site has one.
std::chrono::milliseconds waitOf(const Site& site)
{
    constexpr double otherwise = 5, longest = 24 * 60 * 60;
    const bool isKnown = std::filesystem::exists(site.parameters());
    const double seconds = isKnown ? numbers::leadingNumber(Parameters(site).value(2)) : otherwise;
    return std::chrono::milliseconds(static_cast<int>(1000 * std::clamp(seconds, 0.0, longest)));
}

} // namespace

int host(const ServeOptions& options)
{
    const Site site(options.site);
    std::atomic<std::shared_ptr<const HostTable>> table;
    Service service;
    service.readSettings = [&] {
        table = std::make_shared<const HostTable>(options.table);
        return options.wait > 0 ? std::chrono::seconds(options.wait) : waitOf(site);
    };
    service.makeAnswerer = [&](Log&) { return std::make_unique<Host>(table.load()); };
    Exchange exchange(options.exchange.empty() ? Parameters(site).exchangeDirectory()
                                               : program::pathOf(options.exchange),
                      site::hostPrefix);
    serve(exchange, service, options);
    return allWell;
}

} // namespace vqloan::client
