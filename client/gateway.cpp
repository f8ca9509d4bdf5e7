// vqloan gateway: answers an exchange directory for the "SQL" back end from a database. Its answers are the
// records of the "SQL2" back end, which clients of the component never see, so it holds the component's
// object itself.
#include <stdexcept>

#include "Commands.h"
#include "Exchange.h"
#include "Settings.h"
#include "component/DispSvr.h"
#include "external/SysTools.h"
#include "platform/runtime/ApplicationInfo.h"
#include "platform/runtime/Text.h"
#include "site/Exchange.h"

namespace vqloan::client {

namespace {

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

class Gateway
{
public:
    explicit Gateway(const Site& site)
    {
        ApplicationInfo::pretendFile(site.component().u16string());
        open();
    }

    std::u16string answer(std::u16string_view request, bool whole)
    {
        std::u16string inventory, library;
        if (!whole || !takeApart(request, inventory, library))
            return failure(u"Richiesta non valida");
        if (!opened_)
            open();
        std::u16string name = library;
        const std::u16string rest = server_.CallDB(inventory, name, {});
        if (site::isFailure(rest)) {
            opened_ = false; // a database that went away may be back for the next question
            return failure(rest.substr(1));
        }
        // The record of a copy that is not held has an empty first field, which would make it a failure here.
        return (name.empty() ? library : name).append(site::tab).append(rest);
    }

private:
    void open()
    {
        opened_ = !server_.OpenDatabase(site::kindNames[static_cast<int>(site::Kind::database)]);
        if (opened_)
            return;
        std::int32_t zero = 0;
        throw std::runtime_error("the database cannot be opened: " +
                                 text::toUtf8(sysTools().ErrorText(Variant::missing(), zero)));
    }

    DispSvr server_;
    bool opened_ = false;
};

} // namespace

int gateway(const ServeOptions& options)
{
    const Site site(options.site);
    const std::string path =
        options.exchange.empty() ? Settings(site).text(site::setting(u"CONFIG", u"PATH")) : options.exchange;
    if (path.empty())
        throw std::runtime_error("[CONFIG] PATH is not set in " + site.settings().string() +
                                 ", and no --exchange is given");
    Exchange exchange(path, site::gatewayPrefix, std::chrono::milliseconds(options.delay));
    Gateway gateway(site);
    exchange.serve(
        [&gateway](std::u16string_view request, bool whole) {
            try {
                return gateway.answer(request, whole);
            } catch (const std::exception& error) {
                return failure(text::fromUtf8(error.what()));
            }
        },
        options.verbose);
    return allWell;
}

} // namespace vqloan::client
