// vqloan register, vqloan unregister: the class VQLoan.DispSvr in the registry of the user.
#include <iostream>
#include <memory>
#include <stdexcept>

#include "Commands.h"
#include "Component.h"
#include "platform/program/Paths.h"

namespace vqloan::client {

namespace {

// Only a component that stays where it is can be registered.
void requireOwnComponent(const Site& site)
{
    if (!site.ownComponent())
        throw std::runtime_error("there is no component in " + program::utf8Of(site.directory()) +
                                 "; put one there: vqloan site " + program::utf8Of(site.directory()));
}

int change(const std::string& directory, const char* done, void (Component::*action)() const)
{
    const Site site(directory);
    requireOwnComponent(site);
    (Component(site).*action)();
    std::cout << done << program::utf8Of(site.component()) << '\n';
    return allWell;
}

} // namespace

int registerClass(const std::string& site)
{
    return change(site, "Registered ", &Component::registerComponent);
}

int unregisterClass(const std::string& site)
{
    return change(site, "Unregistered ", &Component::unregisterComponent);
}

} // namespace vqloan::client
