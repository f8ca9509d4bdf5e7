// A client number for each worker, where a back end tells its clients apart by their numbers.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "Site.h"
#include "site/Kind.h"

namespace vqloan::client::http {

// The settings of one site, once for each number and with that number in them, in a private directory that
// goes at the end. They are as the site's are when this is made.
class ClientNumbers
{
public:
    // Throws std::runtime_error for what is no number, and where the site's settings cannot be read or
    // copied.
    ClientNumbers(const Site& site, site::Kind kind, const std::vector<std::string>& numbers);
    ~ClientNumbers() { remove(); }
    ClientNumbers(const ClientNumbers&) = delete;
    ClientNumbers& operator=(const ClientNumbers&) = delete;

    const std::vector<Site>& sites() const noexcept { return sites_; }
    void remove() noexcept;

private:
    std::filesystem::path directory_;
    std::vector<Site> sites_;
};

} // namespace vqloan::client::http
