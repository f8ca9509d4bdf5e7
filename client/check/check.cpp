// vqloan check: why a site does not work, and what to do about it.
#include <algorithm>
#include <exception>
#include <iostream>
#include <optional>
#include <vector>

#include "Commands.h"
#include "Component.h"
#include "Table.h"
#include "check/Checks.h"
#include "platform/runtime/Numbers.h"
#include "platform/runtime/OsFile.h"
#include "platform/runtime/RuntimeError.h"
#include "platform/runtime/Text.h"
#include "platform/runtime/Variant.h"
#include "site/Exchange.h"

namespace vqloan::client {

namespace {

class SiteCheck
{
public:
    SiteCheck(const Site& site, Kind kind) : site_(site), asked_(kind) {}

    Report run()
    {
        files();
        checkHelpers(report_);
        if (settings_)
            checkSettingsLines(*settings_, report_);
        for (const Kind kind : {Kind::database, Kind::gateway, Kind::host})
            if (isToBeChecked(kind) && check(kind))
                opened_.push_back(kind);
        openings();
        return std::move(report_);
    }

private:
    void files()
    {
        report_.section(u"Files", {u"File", u"Read from", u"State"});
        componentLoads_ = checkComponent(site_, report_);
        const SiteFile settings = readSiteFile(site_.settings()),
                       parameters = readSiteFile(site_.parameters());
        const auto isMissing = [](const SiteFile& file) { return file.state == SiteFile::State::missing; };
        if (asked_ != Kind::host &&
            checkSettingsFile(settings, asked_ != Kind::none || isMissing(parameters), report_))
            settings_.emplace(site_, settings.contents);
        if ((asked_ == Kind::host || asked_ == Kind::none) &&
            checkParametersFile(parameters, asked_ == Kind::host, report_))
            parameters_.emplace(parameters.path, parameters.contents);
        checkSiteDirectory(site_, report_);
        if (asked_ == Kind::none && settings_ && !isSetUp(Kind::database) && !isSetUp(Kind::gateway) &&
            !parameters_)
            report_.finding({std::u16string(site::settingsFile)}, u"No kind of back end is set up.",
                            u"Write [SERVER] CONNECT for a database, or [CONFIG] PATH for a gateway.");
    }

    // By what its kind cannot do without.
    bool isSetUp(Kind kind) const
    {
        switch (kind) {
        case Kind::database:
            return settings_ && settings_->find(site::setting(u"SERVER", u"CONNECT"));
        case Kind::gateway:
            return settings_ && settings_->find(site::setting(u"CONFIG", u"PATH"));
        case Kind::host:
            return parameters_.has_value();
        case Kind::none:
            break;
        }
        return false;
    }

    bool isToBeChecked(Kind kind) const
    {
        if (asked_ == Kind::none)
            return isSetUp(kind);
        return kind == asked_ && (kind == Kind::host ? parameters_.has_value() : settings_.has_value());
    }

    // Whether the component is expected to open it.
    bool check(Kind kind)
    {
        if (kind == Kind::host)
            return host();
        const bool opens = checkValues(*settings_, kind, report_);
        checkMessages(*settings_, kind, report_);
        if (!opens)
            return false;
        if (kind == Kind::gateway)
            gateway();
        return kind == Kind::gateway || checkDatabase(site_, *settings_, report_);
    }

    void gateway()
    {
        const site::Setting& path = site::setting(u"CONFIG", u"PATH");
        const auto number = [&](const site::Setting& setting) {
            return Variant(settings_->value(setting)).toLong();
        };
        exchange({.kind = Kind::gateway,
                  .directory = settings_->value(path),
                  .place = settings_->placeOf(path),
                  .client = site::gatewayClient(number(site::setting(u"CLIENT", u"ID"))),
                  .waitLimit = static_cast<double>(number(site::setting(u"CLIENT", u"TIMEOUT")))});
    }

    bool host()
    {
        const bool asks = checkParameters(*parameters_, report_),
                   opens = checkLibraries(*parameters_, report_);
        if (asks && opens)
            exchange(
                {.kind = Kind::host,
                 .directory = parameters_->value(site::Line::directory),
                 .place = {std::u16string(site::hostFile), static_cast<std::size_t>(site::Line::directory)},
                 .client = site::hostClient(text::trim(parameters_->value(site::Line::clientNumber))),
                 .waitLimit = numbers::leadingNumber(parameters_->value(site::Line::waitLimit))});
        return opens;
    }

    void exchange(const ExchangeFiles& files)
    {
        if (checkExchange(files, report_))
            checkAnswer(site_, files, asked_ == files.kind, report_);
    }

    // Last, since it is the component that counts, which may be of another version than this program.
    void openings()
    {
        report_.section(u"The component", {u"Kind", u"Opens", u"Recorded failure"});
        for (const Kind kind : componentLoads_ ? opened_ : std::vector<Kind>())
            try {
                const std::u16string name(site::nameOf(kind));
                Component component(site_);
                const bool opens = component.open(text::toUtf8(name));
                const std::u16string why = opens ? u"" : text::fromUtf8(component.lastFailure().text());
                report_.fact({name, opens ? u"yes" : u"NO", why});
                if (!opens)
                    report_.finding({os::pathText(componentName())},
                                    joined({u"It does not open the kind ", name, u": ", why}),
                                    u"See what it recorded; docs/administration.md has the numbers.");
            } catch (const std::exception& error) {
                report_.finding({os::pathText(componentName())}, text::fromUtf8(error.what()),
                                u"Put the one there that came with this vqloan.");
            }
    }

    const Site& site_;
    Kind asked_; // none: each that is set up
    Report report_;
    bool componentLoads_ = false;
    std::optional<Settings> settings_;
    std::optional<Parameters> parameters_;
    std::vector<Kind> opened_;
};

} // namespace

int check(const CheckOptions& options)
{
    const Site site(options.site);
    const Report report = SiteCheck(site, options.kind).run();
    if (options.format == "json")
        report.printJson(std::cout);
    else
        report.print(std::cout, outputWidth());
    return report.findings() == 0 ? allWell : someFailed;
}

} // namespace vqloan::client
