#include "Site.h"

#include <stdexcept>

#include "platform/program/Paths.h"
#include "platform/program/Program.h"

namespace fs = std::filesystem;

namespace vqloan::client {

namespace {

fs::path programDirectory()
{
    return program::file().parent_path();
}

fs::path chosenDirectory(std::string_view directory)
{
    if (!directory.empty())
        return fs::absolute(program::pathOf(directory));
    // Among the system's programs there are no settings, and never will be.
    if (!fs::exists(programDirectory() / componentName()))
        throw std::runtime_error("name the site's directory with --site");
    return programDirectory();
}

} // namespace

fs::path componentName()
{
    return fs::path("VQLoan") += program::libraryExtension;
}

fs::path ownedComponent()
{
    fs::path beside = programDirectory() / componentName();
#ifdef VQLOAN_COMPONENT_FROM_PROGRAM
    if (!fs::exists(beside))
        return (programDirectory() / VQLOAN_COMPONENT_FROM_PROGRAM).lexically_normal() / componentName();
#endif
    return beside;
}

Site::Site(std::string_view directory) : directory_(chosenDirectory(directory))
{
    if (!fs::is_directory(directory_))
        throw std::runtime_error("there is no directory " + program::utf8Of(directory_));
    component_ = directory_ / componentName();
    source_ = fs::exists(component_) ? component_ : ownedComponent();
    if (!fs::exists(source_))
        throw std::runtime_error("there is neither " + program::utf8Of(component_) + " nor " +
                                 program::utf8Of(source_));
}

} // namespace vqloan::client
