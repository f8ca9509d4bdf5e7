// Stands in for the closed utility component.
#pragma once

#include <cstdint>
#include <string>

#include "external/SysTools.h"
#include "platform/runtime/Clock.h"

namespace vqloan::standins {

class SysTools : public vqloan::SysTools
{
public:
    // No separator at the end counts more than one; the empty directory is the current one. `directory`
    // stays.
    std::u16string DirSlash(std::u16string& directory) override;
    // 91 for a null `ini`. A file that is not there, and an object not bound to one, have no keys; one that
    // cannot be read fails: 57, 67, 70, 75.
    Variant ReadIni(const Variant& section, const Variant& key, const Variant& byDefault,
                    std::shared_ptr<vqloan::IniFile>& ini) override;
    // Every occurrence.
    void StripChar(std::u16string& text, std::u16string& marker) override;
    // Values come from the environment. A name that cannot be resolved stays, and is recorded as the thread's
    // last failure, so that what is recorded next with flags 4 or 8 only adds where that happened.
    bool ResolvePlaceholder(std::u16string& name) override;

    // See FinishedFile.h.
    bool FileExists(std::u16string& path) override;
    // Milliseconds since the instance was made, so the clock has a good three weeks before it overflows.
    std::int32_t TickCount() override;

    // Replaces the record. A detail left out is 0 or empty; with flags 4 or 8 it stays as the last record has
    // it.
    void StoreError(FailureDetails& details, std::int32_t& flags, const Variant& argument8,
                    std::int32_t& argument9) override;
    void GetError(VARIANT* number, VARIANT* source, VARIANT* description, VARIANT* helpFile,
                  VARIANT* helpContext, VARIANT* lastDllError) override;
    std::u16string SysMessage(std::int32_t& code) override;
    std::u16string ErrorText(const Variant& omitted, std::int32_t& zero) override;
    void AfterError() override {}

private:
    struct Record
    {
        std::int32_t number = 0;
        std::u16string source, description, helpFile;
        std::u16string helpContext = u"0";
        std::int32_t lastDllError = 0;
    };

    Record last_;
    std::int64_t start_ = clock::milliseconds();
};

} // namespace vqloan::standins
