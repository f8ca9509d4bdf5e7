// What a thread holds of its own: the instances behind PerThread.h.
#pragma once

#include <vector>

#include "platform/runtime/PerThread.h"

namespace vqloan::threads {

class ThreadInstances
{
public:
    ThreadInstances() = default;
    // The last made goes first. What a destructor makes anew goes as well.
    ~ThreadInstances();
    ThreadInstances(const ThreadInstances&) = delete;
    ThreadInstances& operator=(const ThreadInstances&) = delete;

    void* get(const Kind& kind);

private:
    struct Made
    {
        const Kind* kind;
        void* instance;
    };
    std::vector<Made> made_; // a handful: walked from the front
};

// The calling thread's. Implemented once per system, which knows when a thread ends. Throws std::bad_alloc.
ThreadInstances& ofThisThread();

} // namespace vqloan::threads
