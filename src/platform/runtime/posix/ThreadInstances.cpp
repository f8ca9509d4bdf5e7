// The compiler's own thread_local takes memory where a thread first touches it and where a destructor is
// registered, and ends the program when there is none. A key of our own fails like any other call.
#include "platform/runtime/ThreadInstances.h"

#include <atomic>
#include <memory>
#include <new>

#include <pthread.h>

namespace vqloan::threads {
namespace {

std::atomic<long> threads = 0; // that have instances

void destroy(void* instances)
{
    if (!instances)
        return;
    delete static_cast<ThreadInstances*>(instances);
    --threads;
}

struct Key
{
    pthread_key_t number{};
    bool made = pthread_key_create(&number, destroy) == 0;
};

const Key key;

// When the module is unloaded, or the process ends and the client's own static objects are gone: later than
// any destructor of an object here. Threads that still run keep what they have, since it may be in use.
[[gnu::destructor]] void moduleGoes()
{
    if (!key.made)
        return;
    destroy(pthread_getspecific(key.number));
    pthread_key_delete(key.number);
}

} // namespace

ThreadInstances& ofThisThread()
{
    if (void* const found = key.made ? pthread_getspecific(key.number) : nullptr)
        return *static_cast<ThreadInstances*>(found);
    auto instances = std::make_unique<ThreadInstances>();
    if (!key.made || pthread_setspecific(key.number, instances.get()) != 0)
        throw std::bad_alloc();
    ++threads;
    return *instances.release();
}

bool othersRemain() noexcept
{
    return threads > (key.made && pthread_getspecific(key.number) ? 1 : 0);
}

} // namespace vqloan::threads
