// The closed components themselves, called by the names of their members.
#pragma once

#include <memory>

#include "external/DbTools.h"
#include "external/IniFile.h"
#include "external/SysTools.h"

namespace vqloan::closed {

// A new object each, or null where the class is not registered. RuntimeError 429 when it is, and fails to
// make one.
std::unique_ptr<SysTools> createSysTools();
std::unique_ptr<DbTools> createDbTools();
// From the library of SysTools. RuntimeError 429 when there is none.
std::shared_ptr<IniFile> createIniFile();

} // namespace vqloan::closed
