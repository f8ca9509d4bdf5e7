// The helper components, on systems where others than the built-in ones may be registered.
#include "check/Checks.h"
#include "platform/components/Origins.h"

namespace vqloan::client {

void checkHelpers(Report& report)
{
    const auto origins = componentOrigins();
    if (origins.empty())
        return;
    report.section(u"Helper components", {u"Component", u"Which"});
    for (const Origin& origin : origins) {
        const bool isBroken = !origin.failure.empty();
        report.fact({origin.component, isBroken              ? u"NOT TO BE LOADED"
                                       : origin.isRegistered ? u"the registered one"
                                                             : u"built in"});
        if (isBroken)
            report.finding({origin.component}, u"It is registered, and cannot be loaded: " + origin.failure,
                           u"Install it again for programs of this width, or take its registration away.");
    }
}

} // namespace vqloan::client
