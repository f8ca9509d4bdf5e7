#include "platform/runtime/ApplicationInfo.h"

#include <atomic>
#include <mutex>
#include <utility>

#include "platform/runtime/OsFile.h"
#include "platform/runtime/OsProcess.h"
#include "platform/runtime/PerThread.h"

namespace vqloan {
namespace {

// Of its own: on Windows a mutex of the library's keeps memory when this module is unloaded.
class Guard
{
public:
    void lock() noexcept
    {
        while (taken_.test_and_set(std::memory_order_acquire))
            ;
    }
    void unlock() noexcept { taken_.clear(std::memory_order_release); }

private:
    std::atomic_flag taken_;
};

Guard pretendedGuard;                // held for the copy of a text
std::u16string* pretended = nullptr; // stays for objects that are released after this module's static ones

} // namespace

ApplicationInfo::ApplicationInfo()
{
    {
        const std::lock_guard lock(pretendedGuard);
        file_ = pretended ? *pretended : os::loadedFile();
    }
    const auto nameAt = file_.find_last_of(os::separators()) + 1; // 0 where there is none
    path_ = file_.substr(0, nameAt > 1 ? nameAt - 1 : nameAt);    // the root's own separator stays
    const auto name = file_.substr(nameAt);
    moduleName_ = name.substr(0, name.rfind(u'.'));
}

const ApplicationInfo& ApplicationInfo::ofThread()
{
    return perThread<ApplicationInfo>();
}

void ApplicationInfo::pretendFile(const std::u16string& file)
{
    {
        const std::lock_guard lock(pretendedGuard);
        delete std::exchange(pretended, file.empty() ? nullptr : new std::u16string(file));
    }
    perThread<ApplicationInfo>() = ApplicationInfo();
}

} // namespace vqloan
