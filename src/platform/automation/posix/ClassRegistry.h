// The per-user file that says which file holds which class. It is $AUTOMATION_REGISTRY, else
// automation/registry under $XDG_DATA_HOME or ~/.local/share. Readers always see a whole file, and of
// registrations at the same time, by threads or processes, none is lost. The file is looked at anew on every
// call.
//
// Failures are HRESULTs: E_ACCESSDENIED, REGDB_E_READREGDB when the file cannot be read or there is no place
// for it, E_FAIL when it cannot be written.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "platform/automation/Automation.h"

namespace automation::registry {

struct Registration
{
    CLSID clsid{};
    std::string progId; // may be empty
    std::filesystem::path file;
};

// REGDB_E_CLASSNOTREG when there is none. A programmatic identifier is matched without regard to case; of
// several classes that have it, the one registered last counts.
HRESULT findClass(REFCLSID clsid, Registration& found);
HRESULT findProgId(std::string_view progId, Registration& found);

// Replaces an earlier registration of the class.
HRESULT add(const Registration& registration);
// Removes the registration of the class under this programmatic identifier, if there is one.
HRESULT remove(REFCLSID clsid, std::string_view progId);

} // namespace automation::registry
