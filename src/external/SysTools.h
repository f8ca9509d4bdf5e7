// The closed utility component, as far as the component calls it. One instance per thread, created on first
// use and released by nobody. Every operation may fail with a RuntimeError. Texts by reference may be changed
// by the callee.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "external/IniFile.h"
#include "platform/runtime/Variant.h"

namespace vqloan {

class SysTools
{
public:
    virtual ~SysTools() = default;

    // Settings.

    // The directory as text that a file name can follow directly: it ends in exactly one path separator.
    virtual std::u16string DirSlash(std::u16string& directory) = 0;
    // The value of the key in that section of the file that `ini` is bound to, or the default where the
    // section or the key is absent. Section and key hold text, the default text or a 16-bit integer.
    virtual Variant ReadIni(const Variant& section, const Variant& key, const Variant& byDefault,
                            std::shared_ptr<IniFile>& ini) = 0;
    // Removes the marker from the text.
    virtual void StripChar(std::u16string& text, std::u16string& marker) = 0;
    // Replaces the name (without its "§" signs) by what it stands for. True when it could NOT be resolved.
    [[nodiscard]] virtual bool ResolvePlaceholder(std::u16string& name) = 0;

    // Files and time.

    // True when a file of that name is there to be read.
    virtual bool FileExists(std::u16string& path) = 0;
    // A clock in milliseconds.
    virtual std::int32_t TickCount() = 0;

    // The thread's last recorded failure. Each detail is a Variant: Number and LastDllError 32-bit integers,
    // the others text; or missing, as each is at first.
    struct FailureDetails
    {
        Variant Number = Variant::missing();
        Variant Source = Variant::missing();
        Variant Description = Variant::missing();
        Variant HelpFile = Variant::missing();
        Variant HelpContext = Variant::missing();
        Variant LastDllError = Variant::missing();
    };
    virtual void StoreError(FailureDetails& details, std::int32_t& flags, const Variant& argument8,
                            std::int32_t& argument9) = 0;
    // Fills each argument that is given; null and missing ones are left out.
    virtual void GetError(VARIANT* number, VARIANT* source, VARIANT* description, VARIANT* helpFile,
                          VARIANT* helpContext, VARIANT* lastDllError) = 0;
    // The text for an operating-system error code.
    virtual std::u16string SysMessage(std::int32_t& code) = 0;
    // The text of the failure recorded last; empty when there is none.
    virtual std::u16string ErrorText(const Variant& omitted, std::int32_t& zero) = 0;
    // Told of by VisNre when it has recorded its failure.
    virtual void AfterError() = 0;
};

// The calling thread's instance.
SysTools& sysTools();

} // namespace vqloan
