// vqloan: asks, checks and serves at the command line. Each subcommand stands in a file of its own; here is
// how it is said.
#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>
#include <stdexcept>
#include <vector>

#include "Commands.h"
#include "Log.h"
#include "Nearest.h"
#include "platform/automation/Automation.h"
#include "platform/program/Program.h"
#include "platform/runtime/Text.h"
#include "site/Kind.h"

using namespace vqloan::client;
namespace text = vqloan::text;

namespace {

// Of what is told in seconds or milliseconds.
constexpr int longestTime = 1000 * 1000;

CLI::Option* addKind(CLI::App* command, vqloan::site::Kind& kind)
{
    std::vector<std::string> names;
    std::string description = "Back end:";
    for (const auto& row : vqloan::site::kinds) {
        names.push_back(text::toUtf8(row.name));
        description +=
            (names.size() > 1 ? ", " : " ") + names.back() + " (" + text::toUtf8(row.backEnd) + ")";
    }
    const auto set = [&kind](const std::string& name) {
        kind = vqloan::site::kindNamed(text::fromUtf8(name));
    };
    return command->add_option_function<std::string>("--kind", set, description)
        ->envname("VQLOAN_KIND")
        ->type_name("KIND")
        ->transform(CLI::IsMember(names, CLI::ignore_case).description(""));
}

void addSite(CLI::App* command, std::string& site)
{
    command->add_option("--site", site, "Directory of the settings (default: that of vqloan)")
        ->envname("VQLOAN_SITE")
        ->type_name("DIR");
}

CLI::App* addAsk(CLI::App& program, AskOptions& options)
{
    CLI::App* const command = program.add_subcommand("ask", "Ask whether copies can be had");
    addKind(command, options.kind)->required();
    addSite(command, options.site);
    command->add_option("--own", options.own, "Own library, answered first in raw text")->type_name("CODE");
    command->add_option("--format", options.format, "table (at a terminal), raw (else), json, ndjson, csv")
        ->type_name("FORMAT")
        ->check(CLI::IsMember({"table", "raw", "json", "ndjson", "csv"}).description(""));
    command->add_option("--wait", options.wait, "How long to wait for another asker of this number (10)")
        ->type_name("S")
        ->check(CLI::Range(0, longestTime).description(""));
    command->add_option("FILE", options.file, "Request lines in UTF-8 (default: standard input)")
        ->type_name("");
    const auto add = [&](const char* name, std::string& value, const char* description) {
        command->add_option(name, value, description)->type_name("TEXT")->group("One copy, without FILE");
    };
    add("--library", options.library, "Library code");
    add("--shelf", options.shelf, "Shelf mark");
    add("--inventory", options.inventory, "Inventory number");
    add("--note", options.note, "Note");
    command->footer("A request line is: library code, shelf mark, inventory number, note, with TABs\n"
                    "between. Empty lines are passed over. Answers come in the order of the lines;\n"
                    "in raw text those of kind 7000, and those asked with --own, in the component's.\n\n"
                    "Examples:\n"
                    "  vqloan ask --kind SQL2 --site /srv/vqloan --library 01 --inventory KA000002\n"
                    "  vqloan ask --kind 7000 --site /srv/vqloan --format json requests.txt\n"
                    "  printf '01\\t853 CAL\\tKA000009\\t\\n' | vqloan ask --kind SQL --site /srv/vqloan\n\n"
                    "Exit status: 0 all lines answered, 1 some failed or timed out, 2 nothing asked.");
    return command;
}

CLI::App* addCheck(CLI::App& program, CheckOptions& options)
{
    CLI::App* const command = program.add_subcommand("check", "Tell what is wrong with a site's settings");
    addKind(command, options.kind);
    addSite(command, options.site);
    command->add_option("--format", options.format, "text (default) or json")
        ->type_name("FORMAT")
        ->check(CLI::IsMember({"text", "json"}).description(""));
    command->footer("Without --kind it checks each that is set up; that nobody answers a question of\n"
                    "the kinds SQL and 7000 is a finding with --kind only. Passwords, and what\n"
                    "placeholders stand for, are not shown.\n\n"
                    "Examples:\n"
                    "  vqloan check --site /srv/vqloan\n"
                    "  vqloan check --kind SQL2 --site /srv/vqloan --format json\n\n"
                    "Exit status: 0 nothing found, 1 there are findings, 2 nothing could be checked.");
    return command;
}

void addServing(CLI::App* command, ServeOptions& options, const char* byDefault, const char* wait)
{
    addSite(command, options.site);
    command
        ->add_option("--exchange", options.exchange,
                     std::string("Exchange directory (default: ") + byDefault + ")")
        ->type_name("DIR");
    command->add_option("--delay", options.delay, "Time before an answer, as of a slow system")
        ->type_name("MS")
        ->check(CLI::Range(0, longestTime).description(""));
    command->add_option("--wait", options.wait, std::string("How long clients wait (default: ") + wait + ")")
        ->type_name("S")
        ->check(CLI::Range(1, longestTime).description(""));
    command->add_option("--workers", options.workers, "Requests answered at once (default: 2)")
        ->type_name("N")
        ->check(CLI::Range(1, 64).description(""));
    command->add_flag("-v,--verbose", options.verbose, "Show each request and its answer");
}

CLI::App* addGateway(CLI::App& program, ServeOptions& options)
{
    CLI::App* const command =
        program.add_subcommand("gateway", "Answer the clients of kind SQL from a database");
    addServing(command, options, "[CONFIG] PATH", "[CLIENT] TIMEOUT");
    command->footer("Serves every client number until SIGTERM or SIGINT; SIGHUP reads the settings\n"
                    "again. The database is that of the site's SvrDisp.ini. Requests that lie there\n"
                    "at the start are dropped, and so are answers that nobody waits for any more.\n\n"
                    "Example:\n"
                    "  vqloan gateway --site /srv/vqloan --verbose");
    return command;
}

CLI::App* addHost(CLI::App& program, ServeOptions& options)
{
    CLI::App* const command =
        program.add_subcommand("host", "Answer the clients of kind 7000 from a table file");
    addServing(command, options, "line 3 of CLIENT.PAR", "line 2 of CLIENT.PAR");
    command->add_option("TABLE", options.table, "The table file")->required()->type_name("");
    command->footer("Serves every client number until SIGTERM or SIGINT; SIGHUP reads the table and\n"
                    "the settings again. A line of the table is: library code, inventory number,\n"
                    "answer, with TABs between. An inventory number * stands for the rest of a\n"
                    "library, and a library code * with it for all others.\n\n"
                    "Example:\n"
                    "  vqloan host --site /srv/vqloan /srv/vqloan/host.txt");
    return command;
}

#ifdef VQLOAN_WITH_HTTP
CLI::App* addServe(CLI::App& program, HttpOptions& options)
{
    CLI::App* const command =
        program.add_subcommand("serve", "Answer over HTTP: DAIA, and a page for the desk");
    addKind(command, options.kind)->required();
    addSite(command, options.site);
    const auto add = [&](const char* name, auto& value, const char* description, const char* type) {
        return command->add_option(name, value, description)->type_name(type);
    };
    add("--listen", options.listen, "Where to listen (127.0.0.1:8080)", "HOST:PORT")
        ->envname("VQLOAN_LISTEN");
    add("--workers", options.workers, "Questions asked at once (one a processor)", "N")
        ->check(CLI::Range(1, 64).description(""));
    add("--client-numbers", options.clientNumbers, "SQL, 7000: a worker for each client number", "N,...")
        ->delimiter(',');
    add("--limit", options.limit, "How long the answer to a request may take (30)", "S")
        ->check(CLI::Range(1, longestTime).description(""));
    add("--services", options.services, "File with the site's own table of situations", "FILE");
    add("--id-prefix", options.idPrefix, "Text before LIBRARY:INVENTORY in identifiers", "TEXT");
    add("--base-uri", options.baseUri, "Text before it in URIs (urn:vqloan:)", "URI");
    add("--institution", options.institution, "Name to tell with DAIA answers", "TEXT");
    add("--language", options.language, "Of the site's texts (it)", "CODE");
    command->add_flag("-q,--quiet", options.quiet, "No line for each request on standard output");
    command->footer("Serves until SIGTERM or SIGINT; SIGHUP reads the settings again.\n\n"
                    "Examples:\n"
                    "  vqloan serve --kind SQL2 --site /srv/vqloan\n"
                    "  curl 'http://127.0.0.1:8080/daia?id=01:KA000002&format=json'");
    return command;
}
#endif

CLI::App* addMakeSite(CLI::App& program, SiteOptions& options)
{
    CLI::App* const command = program.add_subcommand("site", "Set up a site in a directory");
    command->add_option("DIR", options.directory, "The directory; made if need be")
        ->required()
        ->type_name("");
    command->add_flag("--sample", options.sample, "With data to try it on: a network of twelve libraries");
    command->add_option("--copies", options.copies, "Copies of the sample (default: 4000)")
        ->type_name("NUMBER")
        ->check(CLI::Range(std::size_t{1}, std::size_t{999999}).description(""));
    command->footer("Makes what is missing: the component, settings, exchange directories. Files that\n"
                    "are there stay as they are; only a component that differs is renewed.\n\n"
                    "Example:\n"
                    "  vqloan site /srv/vqloan --sample");
    return command;
}

CLI::App* addRegistration(CLI::App& program, const char* name, const char* description, std::string& site)
{
    CLI::App* const command = program.add_subcommand(name, description);
    addSite(command, site);
    return command;
}

// Throws std::runtime_error for a word in a command's place that is none.
void checkCommand(const CLI::App& program, const std::vector<std::string>& words)
{
    if (words.size() < 2 || words[1].starts_with('-'))
        return;
    const std::string& word = words[1];
    std::vector<std::string> names;
    for (const CLI::App* const command : program.get_subcommands(nullptr))
        names.push_back(command->get_name());
    if (std::ranges::find(names, word) != names.end())
        return;
    const std::string meant = nearest(word, names);
    throw std::runtime_error("no such command: " + printable(word) +
                             (meant.empty() ? "" : "; did you mean " + meant + "?"));
}

// The status to end with.
int run(int argc, char** argv)
{
    vqloan::program::prepareStreams();
    CLI::App program{"Tells whether copies can be had from the libraries of a network."};
    program.name("vqloan");
    program.get_formatter()->column_width(26);
    program.set_version_flag("-V,--version", "vqloan " VQLOAN_VERSION);
    program.require_subcommand(1);
    program.footer("`vqloan ask --help` has examples, and so has each other subcommand.");

    AskOptions askOptions;
    CheckOptions checkOptions;
    ServeOptions gatewayOptions, hostOptions;
    SiteOptions siteOptions;
    std::string site;
    int status = allWell;
    // Whatever is chosen runs inside `parse`.
    addAsk(program, askOptions)->callback([&] { status = ask(askOptions); });
    addCheck(program, checkOptions)->callback([&] { status = check(checkOptions); });
    addGateway(program, gatewayOptions)->callback([&] { status = gateway(gatewayOptions); });
    addHost(program, hostOptions)->callback([&] { status = host(hostOptions); });
#ifdef VQLOAN_WITH_HTTP
    HttpOptions httpOptions;
    addServe(program, httpOptions)->callback([&] { status = serveHttp(httpOptions); });
#endif
    addMakeSite(program, siteOptions)->callback([&] { status = makeSite(siteOptions); });
    addRegistration(program, "register", "Let clients find the class VQLoan.DispSvr by its name", site)
        ->callback([&] { status = registerClass(site); });
    addRegistration(program, "unregister", "Take that back", site)->callback([&] {
        status = unregisterClass(site);
    });

    std::vector<std::string> words = vqloan::program::commandLine(argc, argv);
    checkCommand(program, words);
    std::ranges::reverse(words); // as the parser takes them
    words.pop_back();
    try {
        program.parse(std::move(words));
    } catch (const CLI::ParseError& error) {
        // Help and the version come this way too, with status 0.
        status = program.exit(error) == 0 ? allWell : nothingDone;
    }
    return status;
}

} // namespace

int main(int argc, char** argv)
{
    int status = nothingDone;
    CoInitialize(nullptr);
    try {
        status = run(argc, argv);
    } catch (const std::exception& error) {
        std::cerr << "vqloan: " << error.what() << '\n';
    }
    if (!std::cout.flush() && status != nothingDone) {
        std::cerr << "vqloan: the output cannot be written\n";
        status = nothingDone;
    }
    CoUninitialize();
    return status;
}
