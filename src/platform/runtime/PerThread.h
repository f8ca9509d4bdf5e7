// One instance of a class per thread, created on first use.
#pragma once

#include <utility>

namespace vqloan {

// The calling thread's T. It is destroyed when the thread ends; code that runs even later on that thread (an
// object that a client keeps in a static variable and releases on exit) gets a new one instead of the dead
// one.
template <class T> T& perThread()
{
    static thread_local T* instance = nullptr;
    if (!instance) {
        struct Owner
        {
            ~Owner() { delete std::exchange(instance, nullptr); }
        };
        instance = new T;
        static thread_local Owner owner;
        static_cast<void>(owner);
    }
    return *instance;
}

} // namespace vqloan
