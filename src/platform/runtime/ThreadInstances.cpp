#include "platform/runtime/ThreadInstances.h"

#include <memory>

namespace vqloan::threads {

ThreadInstances::~ThreadInstances()
{
    while (!made_.empty()) {
        const Made last = made_.back();
        made_.pop_back();
        last.kind->destroy(last.instance);
    }
}

void* ThreadInstances::get(const Kind& kind)
{
    for (const Made& made : made_)
        if (made.kind == &kind)
            return made.instance;
    std::unique_ptr<void, void (*)(void*)> instance(kind.create(), kind.destroy);
    made_.push_back({&kind, instance.get()});
    return instance.release();
}

void* instanceOf(const Kind& kind)
{
    return ofThisThread().get(kind);
}

} // namespace vqloan::threads
