// vqloan gateway: answers an exchange directory for the "SQL" back end from a database, by the computation of
// the "SQL2" back end.
#include <algorithm>
#include <stdexcept>

#include "Commands.h"
#include "Server.h"
#include "Site.h"
#include "component/DispSvr.h"
#include "external/SysTools.h"
#include "platform/program/Paths.h"
#include "platform/runtime/OsFile.h"
#include "platform/runtime/Text.h"
#include "site/Exchange.h"
#include "site/Texts.h"

namespace vqloan::client {

namespace {

using std::chrono::milliseconds;

std::u16string failure(std::u16string_view message)
{
    return std::u16string(1, site::gatewayFailureMark).append(message);
}

// "WL,inventory,library": nothing in it is escaped, so a comma in the inventory number is only found by
// taking the library code from the end.
bool takeApart(std::u16string_view request, std::u16string& inventory, std::u16string& library)
{
    constexpr std::size_t start = site::commandStart.size();
    const auto comma = request.rfind(u',');
    if (!request.starts_with(site::commandStart) || comma < start || request.find(u'\t') != request.npos)
        return false;
    inventory = text::upper(text::trim(request.substr(start, comma - start)));
    library = text::trim(request.substr(comma + 1));
    return true;
}

std::string lastFailure()
{
    std::int32_t zero = 0;
    return text::toUtf8(sysTools().ErrorText(Variant::missing(), zero));
}

// The computation is this program's own; the settings are the site's.
void open(DispSvr& svr, const Site& site, site::Kind kind)
{
    svr.SettingsDir = os::pathText(site.directory());
    if (svr.OpenDatabase(site::nameOf(kind)))
        throw std::runtime_error("the back end cannot be opened: " + std::to_string(svr.ErrNumber()) + ' ' +
                                 lastFailure());
}

class Gateway : public Answerer
{
public:
    Gateway(const Site& site, Log& log) : site_(site), log_(log) { open(); }

    std::u16string answer(std::u16string_view request, bool whole, milliseconds wait) override
    {
        std::u16string inventory, library;
        if (!whole || !takeApart(request, inventory, library))
            return failure(site::invalidRequest);
        if (inventory.empty())
            return failure(site::noAnswer); // as a database gives none
        const auto begun = Clock::now();
        std::u16string record = ask(inventory, library);
        // A database that was replaced, or went away, may be there again.
        if ((site::isFailure(record) || record.empty()) && Clock::now() - begun < wait / 4 && reopen())
            record = ask(inventory, library);
        if (site::isFailure(record))
            return failure(record.substr(1));
        return record.empty() ? failure(site::noAnswer) : library.append(site::tab).append(record);
    }

private:
    using Clock = std::chrono::steady_clock;

    void open()
    {
        svr_ = std::make_unique<DispSvr>();
        client::open(*svr_, site_, site::Kind::database);
    }
    bool reopen()
    {
        try {
            open();
            return true;
        } catch (const std::exception& error) {
            log_.trouble("a database that cannot be opened", error.what());
            return false;
        }
    }

    // The record without its first field, which replaces the library code unless it is empty: so it is for a
    // copy that is not held, and would make a failure of the answer.
    std::u16string ask(std::u16string_view inventory, std::u16string& library)
    {
        std::u16string first = library;
        std::u16string record = svr_->CallDB(inventory, first);
        if (site::isFailure(record))
            log_.trouble("failure " + std::to_string(svr_->ErrNumber()) + " of the database", lastFailure());
        else if (!first.empty())
            library = first;
        return record;
    }

    const Site& site_;
    Log& log_;
    std::unique_ptr<DispSvr> svr_;
};

} // namespace

int gateway(const ServeOptions& options)
{
    const Site site(options.site);
    DispSvr settings;
    open(settings, site, site::Kind::gateway);
    const std::filesystem::path path = options.exchange.empty() ? std::filesystem::path(settings.ExchPath)
                                                                : program::pathOf(options.exchange);
    if (path.empty())
        throw std::runtime_error("[CONFIG] PATH is not set in " + program::utf8Of(site.settings()) +
                                 ", and no --exchange is given");

    Service service;
    service.readSettings = [&] {
        open(settings, site, site::Kind::gateway);
        return milliseconds(1000) * std::max(options.wait > 0 ? options.wait : settings.ClientTimeout, 0);
    };
    service.makeAnswerer = [&](Log& log) { return std::make_unique<Gateway>(site, log); };
    Exchange exchange(path, site::gatewayPrefix);
    serve(exchange, service, options);
    return allWell;
}

} // namespace vqloan::client
