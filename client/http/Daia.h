// GET /daia: availability as DAIA 1.0 has it.
#pragma once

#include <chrono>
#include <string>

#include "http/Http.h"
#include "http/Services.h"
#include "http/Workers.h"

namespace vqloan::client::http {

struct DaiaOptions
{
    std::string idPrefix;    // in front of LIBRARY:INVENTORY in identifiers; without it there is no document
    std::string baseUri;     // in front of LIBRARY:INVENTORY in the URIs of documents and items
    std::string institution; // its name; empty: not told
    std::string language;    // of the site's texts
};

class Daia
{
public:
    // Throws std::runtime_error for an option that would make wrong answers.
    Daia(Workers& workers, const Services& services, DaiaOptions options);

    // Any method; never throws for what a client or a back end does.
    Response answer(const Request& request, Clock::time_point deadline) const;

private:
    struct Copy;
    Response documents(const Request& request, Clock::time_point deadline) const;
    std::optional<Copy> copyOf(const std::string& identifier) const;
    std::string documentsText(const std::vector<Copy>& copies, const std::vector<Answer>& answers,
                              bool isScript) const;

    Workers& workers_;
    const Services& services_;
    const DaiaOptions options_;
};

} // namespace vqloan::client::http
