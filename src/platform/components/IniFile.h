// Stands in for the closed settings-file class.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "external/IniFile.h"
#include "platform/components/Settings.h"
#include "platform/runtime/OsFile.h"

namespace vqloan::standins {

class IniFile : public vqloan::IniFile
{
public:
    void SetFile(const std::u16string& path) override;

    // The value as the file has it now; null where it has none, where there is no such file, and before
    // SetFile. A file that is there and cannot be read is a RuntimeError: to take it for an empty one would
    // open with all defaults. Costs one question about the file's state, and reads the file only when it has
    // changed. Good until the next call.
    const std::u16string* find(std::u16string_view section, std::u16string_view key);

private:
    void refresh();
    void load();

    std::u16string path_;
    Settings settings_;
    std::optional<os::FileState>
        loaded_; // the file that settings_ was read from; none when it must be read again
};

} // namespace vqloan::standins
