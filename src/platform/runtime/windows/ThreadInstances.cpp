#include "platform/runtime/ThreadInstances.h"

#include <utility>

namespace vqloan::threads {

ThreadInstances& ofThisThread()
{
    static thread_local ThreadInstances* instances = nullptr;
    if (!instances) {
        struct Owner
        {
            ~Owner() { delete std::exchange(instances, nullptr); }
        };
        instances = new ThreadInstances;
        static thread_local Owner owner;
        static_cast<void>(owner);
    }
    return *instances;
}

} // namespace vqloan::threads
