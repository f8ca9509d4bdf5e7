#include <new>
#include <utility>

#include "external/Ado.h"
#include "platform/ado/Provider.h"
#include "platform/runtime/PerThread.h"

namespace vqloan {

namespace {

// Of the thread's calls that have not ended.
struct Calls
{
    OneState* innermost = nullptr;
};

} // namespace

OneState::OneState() : outer_(std::exchange(perThread<Calls>().innermost, this)) {}

OneState::~OneState()
{
    perThread<Calls>().innermost = outer_;
    if (session_)
        session_->callEnded();
}

bool OneState::keeps(Session& session)
{
    OneState* const innermost = perThread<Calls>().innermost;
    if (!innermost || (innermost->session_ && innermost->session_ != &session))
        return false;
    innermost->session_ = &session;
    return true;
}

void OneState::forget(const Session& session) noexcept
try {
    for (OneState* call = perThread<Calls>().innermost; call; call = call->outer_)
        if (call->session_ == &session)
            call->session_ = nullptr;
} catch (const std::bad_alloc&) { // the thread has had no call
}

} // namespace vqloan
