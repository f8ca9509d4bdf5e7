// A site: a directory with the settings files SvrDisp.ini and CLIENT.PAR, and the component's file for it.
#pragma once

#include <filesystem>
#include <string_view>

#include "site/HostFile.h"
#include "site/Settings.h"

namespace vqloan::client {

// The component's file name on this system.
std::filesystem::path componentName();

// The component that comes with this program: beside it, as in a build, or where it is installed.
std::filesystem::path ownedComponent();

// The component looks for its settings beside its own file. For a directory that has no component in it, the
// one that comes with this program is loaded and told the directory.
class Site
{
public:
    // In UTF-8; an empty directory is that of this program. Throws std::runtime_error when there is no such
    // directory.
    explicit Site(std::string_view directory);

    const std::filesystem::path& directory() const noexcept { return directory_; }
    // Where the site's own component belongs, whether or not it is there.
    const std::filesystem::path& component() const noexcept { return component_; }
    bool ownComponent() const noexcept { return source_ == component_; }
    // The file to load: that one, or the one that comes with this program.
    const std::filesystem::path& source() const noexcept { return source_; }

    std::filesystem::path settings() const { return directory_ / site::settingsFile; }
    std::filesystem::path parameters() const { return directory_ / site::hostFile; }

private:
    std::filesystem::path directory_, component_, source_;
};

} // namespace vqloan::client
