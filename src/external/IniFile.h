// The closed settings-file class: an object bound to one settings file, read through SysTools::ReadIni.
#pragma once

#include <memory>
#include <string>

namespace vqloan {

class IniFile
{
public:
    virtual ~IniFile() = default;
    // Binds the object to the file of that full path; the file need not exist.
    virtual void SetFile(const std::u16string& path) = 0;
};

// A new object, not bound yet.
std::shared_ptr<IniFile> createIniFile();

} // namespace vqloan
