#include "Site.h"

#include <stdexcept>

#include "platform/program/Program.h"

namespace fs = std::filesystem;

namespace vqloan::client {

namespace {

fs::path programDirectory()
{
    return program::file().parent_path();
}

fs::path chosenDirectory(const fs::path& directory)
{
    if (!directory.empty())
        return fs::absolute(directory);
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
    const fs::path beside = programDirectory() / componentName();
#ifdef VQLOAN_COMPONENT_FROM_PROGRAM
    if (!fs::exists(beside))
        return (programDirectory() / VQLOAN_COMPONENT_FROM_PROGRAM).lexically_normal() / componentName();
#endif
    return beside;
}

Site::Site(const fs::path& directory) : directory_(chosenDirectory(directory))
{
    if (!fs::is_directory(directory_))
        throw std::runtime_error("there is no directory " + directory_.string());
    component_ = directory_ / componentName();
    source_ = fs::exists(component_) ? component_ : ownedComponent();
    if (!fs::exists(source_))
        throw std::runtime_error("there is neither " + component_.string() + " nor " + source_.string());
}

} // namespace vqloan::client
