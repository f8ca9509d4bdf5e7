// The settings files of a new site, and the schema of its sample database, which are the files of
// examples/site; and the page of `vqloan serve`. All of them word for word.
#pragma once

#include <string_view>

namespace vqloan::client::files {

extern const std::string_view settings;   // SvrDisp.ini, in UTF-8
extern const std::string_view parameters; // CLIENT.PAR, in the single-byte code page
extern const std::string_view schema;
extern const std::string_view page;

// The site's directory in them, which a new site has its own in place of.
inline constexpr std::string_view directory = "/srv/vqloan";

} // namespace vqloan::client::files
