// The compiler's own thread_local must not be used in this module: for a destructor it keeps the module
// loaded until the thread ends and then unloads it from within, which never returns, and each load takes an
// index for good. One index of our own serves instead. It is given back, with all that it leads to, when the
// module is unloaded.
#include "platform/runtime/ThreadInstances.h"

#include <windows.h>

#include <cstdlib>
#include <new>

namespace __gnu_cxx {
void __freeres(); // the C++ library's, declared in none of its headers
}

namespace vqloan::threads {
namespace {

// What the C++ library keeps of the exceptions that a thread handles.
struct HandledExceptions
{
    void* caught = nullptr;
    unsigned uncaught = 0;
};

struct OfThread
{
    HandledExceptions exceptions;
    ThreadInstances instances;
    OfThread* next = nullptr;
    OfThread** link = nullptr; // what points to this one
};

DWORD index = TLS_OUT_OF_INDEXES;
SRWLOCK lock = SRWLOCK_INIT;
OfThread* all = nullptr; // of the threads that still run

OfThread* find() noexcept
{
    const DWORD error = GetLastError(); // TlsGetValue clears it, also in the midst of reporting a failure
    const auto found = static_cast<OfThread*>(TlsGetValue(index));
    SetLastError(error);
    return found;
}

// Nothing can be thrown here: throwing comes here itself.
OfThread& findOrMake() noexcept
{
    if (OfThread* const found = find())
        return *found;
    auto* const made = new (std::nothrow) OfThread;
    if (!made || !TlsSetValue(index, made))
        std::abort();
    AcquireSRWLockExclusive(&lock);
    made->next = all;
    made->link = &all;
    if (all)
        all->link = &made->next;
    all = made;
    ReleaseSRWLockExclusive(&lock);
    return *made;
}

void threadEnds() noexcept
{
    OfThread* const ended = find();
    if (!ended)
        return;
    AcquireSRWLockExclusive(&lock);
    *ended->link = ended->next;
    if (ended->next)
        ended->next->link = ended->link;
    ReleaseSRWLockExclusive(&lock);
    delete ended; // still to be found by what its destructors call
    TlsSetValue(index, nullptr);
}

// No other thread is in the module any more, and none comes. What this thread has goes last: destructors may
// look for it.
void moduleGoes() noexcept
{
    OfThread* const last = &findOrMake();
    for (OfThread* thread = all; thread;) {
        OfThread* const next = thread->next;
        if (thread != last)
            delete thread;
        thread = next;
    }
    delete last;
    TlsFree(index);
    __gnu_cxx::__freeres();
}

// Called by the system, under the loader's lock. A process that ends has no need to tidy up, and no other
// threads left to do it with.
void NTAPI onChange(void*, DWORD reason, void* processEnds)
{
    if (reason == DLL_PROCESS_ATTACH)
        index = TlsAlloc();
    else if (reason == DLL_THREAD_DETACH)
        threadEnds();
    else if (reason == DLL_PROCESS_DETACH && !processEnds)
        moduleGoes();
}

// The linker gathers what lies in these sections to the list that the system calls.
[[gnu::section(".CRT$XLB"), gnu::used]] const PIMAGE_TLS_CALLBACK entry = onChange;

} // namespace

ThreadInstances& ofThisThread()
{
    return findOrMake().instances;
}

bool othersRemain() noexcept
{
    return false;
}

} // namespace vqloan::threads

// In place of the C++ library's own, which are thread_local.
extern "C" void* __cxa_get_globals() noexcept
{
    return &vqloan::threads::findOrMake().exceptions;
}

extern "C" void* __cxa_get_globals_fast() noexcept
{
    return __cxa_get_globals();
}
