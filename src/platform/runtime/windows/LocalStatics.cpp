// How the compiler makes a function's static variables on first use. The C++ library's own way goes through a
// thread library, which keeps handles and memory of each thread that comes by when this module is unloaded.
#include <windows.h>

namespace {

SRWLOCK lock = SRWLOCK_INIT;
CONDITION_VARIABLE changed = CONDITION_VARIABLE_INIT;

// Of one variable; the compiler's code looks at `made` by itself first.
struct Guard
{
    char made;
    char beingMade;
};

struct
{
    SRWLOCK lock = SRWLOCK_INIT;
    DWORD thread = 0, depth = 0;
} unwinding;

void stopMaking(Guard& guard, bool made) noexcept
{
    AcquireSRWLockExclusive(&lock);
    guard.beingMade = false;
    __atomic_store_n(&guard.made, made, __ATOMIC_RELEASE);
    ReleaseSRWLockExclusive(&lock);
    WakeAllConditionVariable(&changed);
}

} // namespace

// Whether the caller is the one to make the variable. Another thread that is making it is waited for.
extern "C" int __cxa_guard_acquire(Guard* guard)
{
    AcquireSRWLockExclusive(&lock);
    while (guard->beingMade)
        SleepConditionVariableSRW(&changed, &lock, INFINITE, 0);
    const bool toBeMade = !guard->made;
    guard->beingMade = toBeMade;
    ReleaseSRWLockExclusive(&lock);
    return toBeMade;
}

extern "C" void __cxa_guard_release(Guard* guard)
{
    stopMaking(*guard, true);
}

extern "C" void __cxa_guard_abort(Guard* guard)
{
    stopMaking(*guard, false);
}

// What the unwinder of 32-bit exceptions takes from the same thread library; the linker leads it here.
extern "C" int __wrap_pthread_once(long* state, void (*initialise)())
{
    auto* const guard = reinterpret_cast<Guard*>(state);
    if (__cxa_guard_acquire(guard)) {
        initialise();
        __cxa_guard_release(guard);
    }
    return 0;
}

// One lock for all, which a thread may take again.
extern "C" int __wrap_pthread_mutex_lock(void*)
{
    static_assert(sizeof(Guard) <= sizeof(long));
    const DWORD self = GetCurrentThreadId();
    if (__atomic_load_n(&unwinding.thread, __ATOMIC_RELAXED) != self) {
        AcquireSRWLockExclusive(&unwinding.lock);
        __atomic_store_n(&unwinding.thread, self, __ATOMIC_RELAXED);
    }
    ++unwinding.depth;
    return 0;
}

extern "C" int __wrap_pthread_mutex_unlock(void*)
{
    if (--unwinding.depth == 0) {
        __atomic_store_n(&unwinding.thread, 0, __ATOMIC_RELAXED);
        ReleaseSRWLockExclusive(&unwinding.lock);
    }
    return 0;
}
