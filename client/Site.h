// A site: a directory with the settings files SvrDisp.ini and CLIENT.PAR, and the component's file for it.
#pragma once

#include <filesystem>

#include "site/HostFile.h"
#include "site/Settings.h"

namespace vqloan::client {

// The component's file name on this system.
#ifdef _WIN32
inline constexpr char componentName[] = "VQLoan.dll";
#else
inline constexpr char componentName[] = "VQLoan.so";
#endif

// The component looks for its settings beside its own file. A directory that has no component in it is
// therefore given one for the life of this object: a private directory with a copy of the component that lies
// beside this program, and links to the directory's settings files.
class Site
{
public:
    // An empty directory is that of this program. Throws std::runtime_error when there is no such directory.
    explicit Site(const std::filesystem::path& directory);
    Site(const Site&) = delete;
    Site& operator=(const Site&) = delete;

    const std::filesystem::path& directory() const noexcept { return directory_; }
    // The file to load.
    const std::filesystem::path& component() const noexcept { return component_; }
    // Where that file comes from: the site's own directory, or this program's.
    const std::filesystem::path& source() const noexcept { return source_; }
    bool ownComponent() const noexcept { return private_.directory.empty(); }

    std::filesystem::path settings() const { return directory_ / site::settingsFile; }
    std::filesystem::path parameters() const { return directory_ / site::hostFile; }

private:
    // Goes with everything in it, also when the rest of a site cannot be made.
    struct Private
    {
        ~Private();
        std::filesystem::path directory; // empty: there is none
    };

    Private private_;
    std::filesystem::path directory_, component_, source_;
};

} // namespace vqloan::client
