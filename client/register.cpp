// vqloan register, vqloan unregister: the class VQLoan.DispSvr in the registry of the user.
#include <iostream>
#include <memory>
#include <stdexcept>

#include "Commands.h"
#include "Component.h"

namespace vqloan::client {

namespace {

// Only a component that stays where it is can be registered.
void requireOwnComponent(const Site& site)
{
    if (!site.ownComponent())
        throw std::runtime_error("there is no component in " + site.directory().string() +
                                 "; put one there: cp " + site.source().string() + " " +
                                 site.directory().string());
}

void add(CLI::App& program, int& status, const char* name, const char* description, const char* done,
         void (Component::*action)() const)
{
    const auto directory = std::make_shared<std::string>();
    CLI::App* const command = program.add_subcommand(name, description);
    command->add_option("--site", *directory,
                        "Directory of the component and its settings; that of this program");
    command->callback([=, &status] {
        const Site site(*directory);
        requireOwnComponent(site);
        (Component(site).*action)();
        std::cout << done << site.component().string() << '\n';
        status = allWell;
    });
}

} // namespace

void addRegister(CLI::App& program, int& status)
{
    add(program, status, "register", "Let clients find the class VQLoan.DispSvr by its name", "Registered ",
        &Component::registerComponent);
    add(program, status, "unregister", "Take that back", "Unregistered ", &Component::unregisterComponent);
}

} // namespace vqloan::client
