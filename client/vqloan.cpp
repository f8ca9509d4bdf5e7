// vqloan: asks, checks and serves at the command line.
#include <iostream>

#include "Commands.h"
#include "platform/automation/Automation.h"

using namespace vqloan::client;

int main(int argc, char** argv)
{
    CLI::App program{"Whether copies can be had from the libraries of a network."};
    program.name("vqloan");
    program.set_version_flag("--version", "vqloan " VQLOAN_VERSION);
    program.require_subcommand(1);
    program.footer("Try `vqloan ask --help` for examples. The manual page has more: man vqloan.");

    int status = allWell;
    addAsk(program, status);
    addCheck(program, status);
    addGateway(program, status);
    addHost(program, status);
    addRegister(program, status);

    CoInitialize(nullptr);
    try {
        program.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        // Help and the version come this way too, with status 0.
        status = program.exit(error) == 0 ? allWell : nothingDone;
    } catch (const std::exception& error) {
        std::cerr << "vqloan: " << error.what() << '\n';
        status = nothingDone;
    }
    CoUninitialize();
    return status;
}
