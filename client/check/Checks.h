// The groups of findings of `vqloan check`, one file each. A group reads the site by the component's own
// rules and reports. What it makes in an exchange directory it takes away again.
#pragma once

#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>

#include "Failure.h"
#include "Parameters.h"
#include "Site.h"
#include "check/Report.h"
#include "check/Settings.h"
#include "external/Ado.h"
#include "site/Kind.h"

namespace vqloan {
class DispSvr;
}

namespace vqloan::client {

using site::Kind;

// --- Files ---

struct SiteFile
{
    enum class State
    {
        found,
        missing,
        unreadable
    };
    std::filesystem::path path;
    State state = State::missing;
    std::string contents{};
    std::u16string reason{}; // why it cannot be read
};
SiteFile readSiteFile(const std::filesystem::path& path);

// Whether the contents can be looked at: the file is there, can be read, and is in an encoding that is read.
// That a file is missing is a finding only where it is needed.
bool checkSettingsFile(const SiteFile& file, bool isNeeded, Report& report);
bool checkParametersFile(const SiteFile& file, bool isNeeded, Report& report);
// Whether the site's component can be loaded.
bool checkComponent(const Site& site, Report& report);
// Which helper components are registered ones.
void checkHelpers(Report& report);
// Who else may change the site.
void checkSiteDirectory(const Site& site, Report& report);

// --- SvrDisp.ini ---

// Sections, keys and lines that nothing reads.
void checkSettingsLines(const Settings& settings, Report& report);
// The values that this kind reads; false where one of them lets no opening succeed.
bool checkValues(const Settings& settings, Kind kind, Report& report);
void checkMessages(const Settings& settings, Kind kind, Report& report);

// --- The database ---

// Whether it opens.
bool checkDatabase(const Site& site, const Settings& settings, Report& report);
// Why it does not open, in its own words, and what to do.
void explainOpening(const Settings& settings, std::u16string_view failure, Report& report);
// Whether all that is read is there and may be read.
bool checkTables(const std::shared_ptr<Connection>& connection, Report& report);
void checkIndexes(const std::shared_ptr<Connection>& connection, Report& report);
// Some of the rows: whether copies are found, dates are dates, status texts are told whole, how long it
// takes. The object is open for the database; its messages are replaced.
void checkSamples(DispSvr& svr, const Settings& settings, Report& report);

// --- CLIENT.PAR ---

// False where no question can be asked.
bool checkParameters(const Parameters& parameters, Report& report);
bool checkLibraries(const Parameters& parameters, Report& report);

// --- The exchanges ---

// The files of an exchange, and where its directory is set.
struct ExchangeFiles
{
    Kind kind;
    std::u16string directory;
    Place place;
    std::u16string client{}; // of this site, as it stands in the files' names
    double waitLimit = 0;    // seconds
};
// False where no question can be asked.
bool checkExchange(const ExchangeFiles& files, Report& report);

// Asks a question as a client does. That nobody answers is a finding where somebody should.
void checkAnswer(const Site& site, const ExchangeFiles& files, bool isServed, Report& report);

// --- Helpers ---

// What an object recorded last.
Failure recordedFailure(DispSvr& svr);
std::u16string reasonOf(std::int32_t systemError); // without a full stop
std::u16string joined(std::initializer_list<std::u16string_view> pieces);
std::u16string inQuotes(std::u16string_view text);
std::u16string decimal(std::size_t number);
void appendTo(std::u16string& list, std::u16string_view item); // with ", " between

} // namespace vqloan::client
