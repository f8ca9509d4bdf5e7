#include "http/Page.h"

#include <cstdio>
#include <random>

#include "SampleFiles.h"

namespace vqloan::client::http {

namespace {

// In the page's file where the nonce belongs.
constexpr std::string_view place = "@NONCE@";

std::string makeNonce()
{
    std::random_device random;
    std::string nonce;
    for (int i = 0; i < 4; ++i) {
        char digits[9];
        std::snprintf(digits, sizeof digits, "%08x", random());
        nonce += digits;
    }
    return nonce;
}

} // namespace

Response page()
{
    const std::string nonce = makeNonce();
    Response response;
    response.type = "text/html; charset=utf-8";
    response.body = files::page;
    for (auto at = response.body.find(place); at != response.body.npos; at = response.body.find(place, at))
        response.body.replace(at, place.size(), nonce);
    response.headers = {{"Content-Security-Policy",
                         "default-src 'none'; script-src 'nonce-" + nonce + "'; style-src 'nonce-" + nonce +
                             "'; img-src data:; connect-src 'self'; base-uri 'none'; form-action "
                             "'none'; frame-ancestors 'none'"},
                        {"X-Content-Type-Options", "nosniff"},
                        {"Referrer-Policy", "no-referrer"},
                        {"Cache-Control", "no-cache"}};
    return response;
}

} // namespace vqloan::client::http
