#include "platform/automation/posix/ThreadState.h"

#include <memory>
#include <new>

#include <pthread.h>

namespace automation {
namespace {

void destroy(void* state)
{
    delete static_cast<ThreadState*>(state);
}

struct Key
{
    pthread_key_t number{};
    bool made = pthread_key_create(&number, destroy) == 0;
};

const Key key;

[[gnu::destructor]] void libraryGoes()
{
    if (!key.made)
        return;
    destroy(pthread_getspecific(key.number));
    pthread_key_delete(key.number);
}

} // namespace

ThreadState* ThreadState::find() noexcept
{
    return key.made ? static_cast<ThreadState*>(pthread_getspecific(key.number)) : nullptr;
}

ThreadState* ThreadState::findOrMake() noexcept
{
    if (ThreadState* const found = find())
        return found;
    std::unique_ptr<ThreadState> made(new (std::nothrow) ThreadState);
    if (!made || !key.made || pthread_setspecific(key.number, made.get()) != 0)
        return nullptr;
    return made.release();
}

} // namespace automation
