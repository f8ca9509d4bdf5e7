// The subcommands: what each is told, and what it does. Each gives the program's exit status, and throws
// std::exception for what it cannot do at all. How they are said at the command line is in vqloan.cpp.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "site/Kind.h"

namespace vqloan::client {

// Exit statuses; what a subcommand throws ends in `nothingDone`.
inline constexpr int allWell = 0;
inline constexpr int someFailed = 1;
inline constexpr int nothingDone = 2;

struct AskOptions
{
    site::Kind kind = site::Kind::none;
    std::string site;
    std::optional<std::string> own; // the own library, where it is not the back end's own choice
    std::string format; // "table", "raw", "json", "ndjson", "csv"; empty: table on a terminal, else raw
    int wait = 10;      // seconds for another client of the same number to end
    std::string file;   // empty or "-": standard input
    std::string library, shelf, inventory, note; // one copy, instead of a file
};
int ask(const AskOptions& options);

struct CheckOptions
{
    site::Kind kind = site::Kind::none; // none: each that is set up
    std::string site;
    std::string format; // "text" or "json"; empty: text
};
int check(const CheckOptions& options);

struct ServeOptions
{
    std::string site;
    std::string exchange; // empty: the site's own exchange directory
    std::string table;    // the host's
    int delay = 0;        // milliseconds before an answer, as a slow back end has
    int wait = 0;         // seconds that clients wait; 0: as the site's settings say
    int workers = 2;
    bool verbose = false;
};
int gateway(const ServeOptions& options);
int host(const ServeOptions& options);

struct HttpOptions
{
    site::Kind kind = site::Kind::none;
    std::string site;
    std::string listen = "127.0.0.1:8080";
    int workers = 0;                        // 0: one a processor, or one where a client number is needed
    std::vector<std::string> clientNumbers; // of the workers, in place of the site's own one
    std::string idPrefix, baseUri = "urn:vqloan:", institution, language = "it";
    std::string services; // a file; empty: the table as it is
    int limit = 30;       // seconds for the answer to a request
    bool quiet = false;   // no access log
};
int serveHttp(const HttpOptions& options);

struct SiteOptions
{
    std::string directory;
    bool sample = false;
    std::size_t copies = 4000; // of the sample
};
int makeSite(const SiteOptions& options);

int registerClass(const std::string& site);
int unregisterClass(const std::string& site);

} // namespace vqloan::client
