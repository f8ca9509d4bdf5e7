// What keeps the component loaded: its objects, its class factories, and its clients' locks.
#pragma once

#include <atomic>

namespace vqloan {

class ModuleUse
{
public:
    // As a member, and the first one: counts its owner from before it is built until it is gone altogether.
    class Counted
    {
    public:
        Counted() noexcept { ++users_; }
        ~Counted() { --users_; }
        Counted(const Counted&) = delete;
        Counted& operator=(const Counted&) = delete;
    };

    static void lock() noexcept { ++locks_; }
    // False for an unlock without its lock, which is not counted: it would take away another client's.
    static bool unlock() noexcept
    {
        long locks = locks_;
        while (locks > 0)
            if (locks_.compare_exchange_weak(locks, locks - 1))
                return true;
        return false;
    }

    static bool none() noexcept { return users_ == 0 && locks_ == 0; }

private:
    inline static std::atomic<long> users_ = 0;
    inline static std::atomic<long> locks_ = 0;
};

} // namespace vqloan
