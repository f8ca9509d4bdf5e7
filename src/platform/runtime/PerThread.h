// One instance of a class per thread, created on first use.
#pragma once

namespace vqloan {

namespace threads {

// How an instance is made and destroyed. The address of the kind tells it from every other.
struct Kind
{
    void* (*create)();
    void (*destroy)(void*);
};

// The calling thread's instance of that kind. Throws std::bad_alloc.
void* instanceOf(const Kind& kind);

// True while a thread other than the calling one still runs and would come back here when it ends, so that
// the module must stay. Never where the system has that done by the module before it goes.
bool othersRemain() noexcept;

} // namespace threads

// The calling thread's T. It is destroyed when the thread ends, or when this module is unloaded, at least
// where that is the thread that unloads it. Code that runs even later on that thread (an object that a client
// keeps in a static variable and releases on exit) gets a new one instead of the dead one. Throws
// std::bad_alloc where none can be made.
template <class T> T& perThread()
{
    static constexpr threads::Kind kind{[]() -> void* { return new T; },
                                        [](void* instance) { delete static_cast<T*>(instance); }};
    return *static_cast<T*>(threads::instanceOf(kind));
}

} // namespace vqloan
