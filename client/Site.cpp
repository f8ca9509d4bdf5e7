#include "Site.h"

#include <random>
#include <stdexcept>
#include <string>

#include "platform/program/Program.h"

namespace fs = std::filesystem;

namespace vqloan::client {

namespace {

// Nobody else may read it: what lies there leads to a site's settings.
fs::path makePrivateDirectory()
{
    std::random_device random;
    for (;;) {
        const fs::path made =
            fs::temp_directory_path() / ("vqloan-" + std::to_string(random()) + std::to_string(random()));
        if (fs::create_directory(made)) {
            fs::permissions(made, fs::perms::owner_all);
            return made;
        }
    }
}

// A link where the system lets us make one, so that a change of the settings is seen; a copy elsewhere.
void place(const fs::path& file, const fs::path& directory)
{
    std::error_code failed;
    fs::create_symlink(file, directory / file.filename(), failed);
    if (failed && fs::exists(file))
        fs::copy_file(file, directory / file.filename());
}

// The component that comes with this program: beside it, as in a build, or where it is installed.
fs::path ownedComponent()
{
    const fs::path beside = program::file().parent_path() / componentName;
#ifdef VQLOAN_COMPONENT_FROM_PROGRAM
    if (!fs::exists(beside))
        return (program::file().parent_path() / VQLOAN_COMPONENT_FROM_PROGRAM).lexically_normal() /
               componentName;
#endif
    return beside;
}

} // namespace

Site::Site(const fs::path& directory)
    : directory_(directory.empty() ? program::file().parent_path() : fs::absolute(directory))
{
    if (!fs::is_directory(directory_))
        throw std::runtime_error("there is no directory " + directory_.string());
    component_ = source_ = directory_ / componentName;
    if (fs::exists(component_))
        return;
    source_ = ownedComponent();
    if (!fs::exists(source_))
        throw std::runtime_error("there is neither " + component_.string() + " nor " + source_.string());
    private_.directory = makePrivateDirectory();
    component_ = private_.directory / componentName;
    program::removeWhenEnded({component_, private_.directory / settings().filename(),
                              private_.directory / parameters().filename(), private_.directory});
    fs::copy_file(source_, component_);
    place(settings(), private_.directory);
    place(parameters(), private_.directory);
}

Site::Private::~Private()
{
    std::error_code ignored;
    if (!directory.empty())
        fs::remove_all(directory, ignored);
}

} // namespace vqloan::client
