#include "platform/components/SysTools.h"

#include <utility>

#include "platform/components/FinishedFile.h"
#include "platform/components/IniFile.h"
#include "platform/components/Placeholders.h"
#include "platform/runtime/OsFile.h"
#include "platform/runtime/OsProcess.h"
#include "platform/runtime/RuntimeError.h"

namespace vqloan::standins {
namespace {

// An HRESULT of the component's own: facility ITF, code 513.
constexpr std::int32_t unresolvedPlaceholder = -2147220991;

constexpr std::int32_t keepLeftOut = 4 | 8;

} // namespace

// --- Settings ---

std::u16string SysTools::DirSlash(std::u16string& directory)
{
    const std::u16string_view separators = os::separators();
    if (directory.empty())
        return std::u16string(u".").append(separators.substr(0, 1));
    const auto last = directory.find_last_not_of(separators);
    return directory.substr(0, last + 1) + separators[0]; // nothing but separators: the root
}

Variant SysTools::ReadIni(const Variant& section, const Variant& key, const Variant& byDefault,
                          std::shared_ptr<vqloan::IniFile>& ini)
{
    if (!ini)
        throw RuntimeError(Failure::ObjectNotSet);
    auto* file = dynamic_cast<IniFile*>(ini.get());
    if (!file)
        throw RuntimeError(Failure::TypeMismatch);
    const std::u16string* value = file->find(section.toText(), key.toText());
    return value ? Variant(*value) : byDefault;
}

void SysTools::StripChar(std::u16string& text, std::u16string& marker)
{
    if (marker.empty())
        return;
    for (auto at = text.find(marker); at != text.npos; at = text.find(marker, at))
        text.erase(at, marker.size());
}

bool SysTools::ResolvePlaceholder(std::u16string& name)
{
    const Resolving outcome = resolvePlaceholder(name);
    if (outcome == Resolving::Resolved)
        return false;
    last_ = Record();
    last_.number = unresolvedPlaceholder;
    last_.source = u"SysTools.ResolvePlaceholder";
    // What the value holds is not told, not even the name it leads to: it may be part of a secret. So may
    // what stands between two signs that do not belong together, as in
    // "PWD=a\u00A7b;Server=\u00A7HOST\u00A7".
    const bool isName = name.find_first_of(u";=") == name.npos;
    last_.description =
        u"The placeholder " + (isName ? u"\u00A7" + name + u"\u00A7 " : u"") + u"cannot be resolved: " +
        (outcome == Resolving::NotSet ? u"there is no environment variable of that name"
                                      : u"its value leads back to itself or to a name that is not set");
    return true;
}

// --- Files and time ---

bool SysTools::FileExists(std::u16string& path)
{
    return isFinishedFile(path);
}

std::int32_t SysTools::TickCount()
{
    return static_cast<std::int32_t>(clock::milliseconds() - start_);
}

// --- The thread's last recorded failure ---

void SysTools::StoreError(FailureDetails& details, std::int32_t& flags, const Variant&, std::int32_t&)
{
    Record record = (flags & keepLeftOut) != 0 ? last_ : Record();
    const auto takeNumber = [](std::int32_t& part, const Variant& detail) {
        if (!detail.isMissing())
            part = detail.toLong();
    };
    const auto takeText = [](std::u16string& part, const Variant& detail) {
        if (!detail.isMissing())
            part = detail.toText();
    };
    takeNumber(record.number, details.Number);
    takeText(record.source, details.Source);
    takeText(record.description, details.Description);
    takeText(record.helpFile, details.HelpFile);
    takeText(record.helpContext, details.HelpContext);
    takeNumber(record.lastDllError, details.LastDllError);
    last_ = std::move(record);
}

void SysTools::GetError(VARIANT* number, VARIANT* source, VARIANT* description, VARIANT* helpFile,
                        VARIANT* helpContext, VARIANT* lastDllError)
{
    const auto give = [](VARIANT* argument, const Variant& detail) {
        if (argument && !Variant::isMissing(*argument))
            Variant::assign(*argument, detail);
    };
    give(number, last_.number);
    give(source, last_.source);
    give(description, last_.description);
    give(helpFile, last_.helpFile);
    give(helpContext, last_.helpContext);
    give(lastDllError, last_.lastDllError);
}

std::u16string SysTools::SysMessage(std::int32_t& code)
{
    return os::errorMessage(code);
}

std::u16string SysTools::ErrorText(const Variant&, std::int32_t&)
{
    return last_.description;
}

} // namespace vqloan::standins
