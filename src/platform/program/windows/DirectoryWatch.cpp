#include "platform/program/DirectoryWatch.h"

#include <windows.h>

namespace vqloan::program {

// The notice names no files here, so each one asks for a look around.
struct DirectoryWatch::System
{
    explicit System(std::filesystem::path name) : directory(std::move(name)) { watch(); }
    ~System()
    {
        stop();
        CloseHandle(wakes);
    }
    void watch()
    {
        notices = FindFirstChangeNotificationW(directory.c_str(), FALSE,
                                               FILE_NOTIFY_CHANGE_FILE_NAME | FILE_NOTIFY_CHANGE_LAST_WRITE);
    }
    void stop()
    {
        if (notices != INVALID_HANDLE_VALUE)
            FindCloseChangeNotification(notices);
    }

    std::filesystem::path directory;
    HANDLE notices = INVALID_HANDLE_VALUE;
    const HANDLE wakes = CreateSemaphoreW(nullptr, 0, 0x7FFFFFFF, nullptr);
};

DirectoryWatch::DirectoryWatch(std::filesystem::path directory)
    : system_(std::make_unique<System>(std::move(directory)))
{}

DirectoryWatch::~DirectoryWatch() = default;

DirectoryWatch::Notice DirectoryWatch::wait(std::chrono::milliseconds limit)
{
    const HANDLE both[] = {system_->wakes, system_->notices};
    const DWORD count = system_->notices == INVALID_HANDLE_VALUE ? 1 : 2;
    Notice notice;
    if (WaitForMultipleObjects(count, both, FALSE, static_cast<DWORD>(limit.count())) == WAIT_OBJECT_0 + 1) {
        FindNextChangeNotification(system_->notices);
        notice.lookAround = true;
    }
    return notice;
}

void DirectoryWatch::wake() noexcept
{
    ReleaseSemaphore(system_->wakes, 1, nullptr);
}

// A directory that is watched cannot be replaced here.
void DirectoryWatch::renew() {}

} // namespace vqloan::program
