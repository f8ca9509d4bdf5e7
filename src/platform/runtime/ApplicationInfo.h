// The runtime's application-information object: what the component knows of its own loaded file.
#pragma once

#include <string>

namespace vqloan {

template <class T> T& perThread();

class ApplicationInfo
{
public:
    // The calling thread's instance, created on first use.
    static const ApplicationInfo& ofThread();

    // The directory of the loaded file that holds this code, absolute.
    const std::u16string& path() const noexcept { return path_; }
    // The loaded file's name without its extension.
    const std::u16string& moduleName() const noexcept { return moduleName_; }
    // The loaded file itself, absolute.
    const std::u16string& file() const noexcept { return file_; }

private:
    template <class T> friend T& perThread();
    ApplicationInfo();
    std::u16string file_, path_, moduleName_;
};

} // namespace vqloan
