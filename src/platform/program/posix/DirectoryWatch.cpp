#include "platform/program/DirectoryWatch.h"

#include <poll.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>

namespace vqloan::program {

namespace {

// A rename into the directory comes as IN_MOVED_TO, a file written in place as IN_CLOSE_WRITE.
constexpr std::uint32_t watched = IN_CLOSE_WRITE | IN_MOVED_TO | IN_ONLYDIR;

} // namespace

struct DirectoryWatch::System
{
    explicit System(std::filesystem::path name) : directory(std::move(name))
    {
        add(wakes, 0);
        add(notices, EPOLLEXCLUSIVE); // one notice wakes one thread
        watch();
    }
    ~System()
    {
        for (const int descriptor : {notices, wakes, both})
            if (descriptor >= 0)
                close(descriptor);
    }
    void add(int descriptor, std::uint32_t how)
    {
        epoll_event event{};
        event.events = EPOLLIN | how;
        event.data.fd = descriptor;
        epoll_ctl(both, EPOLL_CTL_ADD, descriptor, &event);
    }
    // Gives the same number for as long as the name is that of the same directory.
    void watch()
    {
        const int now = inotify_add_watch(notices, directory.c_str(), watched), before = number.exchange(now);
        if (before >= 0 && before != now)
            inotify_rm_watch(notices, before);
    }

    std::filesystem::path directory;
    const int notices = inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
    const int wakes = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK | EFD_SEMAPHORE);
    const int both = epoll_create1(EPOLL_CLOEXEC);
    std::atomic<int> number = -1; // of the directory watched; negative: none
};

DirectoryWatch::DirectoryWatch(std::filesystem::path directory)
    : system_(std::make_unique<System>(std::move(directory)))
{}

DirectoryWatch::~DirectoryWatch() = default;

DirectoryWatch::Notice DirectoryWatch::wait(std::chrono::milliseconds limit)
{
    Notice notice;
    epoll_event event{};
    const int timeout = static_cast<int>(limit.count());
    const int ready =
        system_->both >= 0 ? epoll_wait(system_->both, &event, 1, timeout) : poll(nullptr, 0, timeout);
    if (ready <= 0)
        return notice;
    if (event.data.fd == system_->wakes) {
        std::uint64_t one = 0;
        static_cast<void>(read(system_->wakes, &one, sizeof one));
        return notice;
    }
    alignas(inotify_event) char buffer[16 * 1024];
    const ssize_t size = read(system_->notices, buffer, sizeof buffer);
    for (ssize_t at = 0; at < size;) {
        const auto& seen = *reinterpret_cast<const inotify_event*>(buffer + at);
        at += static_cast<ssize_t>(sizeof seen + seen.len);
        if ((seen.mask & IN_Q_OVERFLOW) != 0)
            notice.lookAround = true;
        else if (seen.len > 0)
            notice.names.emplace_back(seen.name);
    }
    return notice;
}

void DirectoryWatch::wake() noexcept
{
    const std::uint64_t one = 1;
    static_cast<void>(!write(system_->wakes, &one, sizeof one));
}

void DirectoryWatch::renew()
{
    system_->watch();
}

} // namespace vqloan::program
