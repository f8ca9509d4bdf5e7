// What a status says of the services, at this site.
#pragma once

#include <array>
#include <filesystem>
#include <map>
#include <string>

#include "site/Services.h"

namespace vqloan::client::http {

class Services
{
public:
    // An empty path leaves the table as it is. Lines of the file: a status, and a word for each service, with
    // blanks between; "#" begins a comment; a status without a line stays as it is. Throws std::runtime_error
    // with the file, the line and what is wrong there.
    explicit Services(const std::filesystem::path& file);

    using Says = std::array<site::Can, site::serviceCount>;
    const Says& of(std::string_view status) const;

private:
    void take(const std::string& line);

    std::map<std::string, Says, std::less<>> table_;
};

} // namespace vqloan::client::http
