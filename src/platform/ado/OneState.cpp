#include "external/Ado.h"
#include "platform/ado/Provider.h"

namespace vqloan {

namespace {

thread_local OneState* innermost = nullptr;

} // namespace

OneState::OneState() noexcept : outer_(innermost)
{
    innermost = this;
}

OneState::~OneState()
{
    innermost = outer_;
    if (session_)
        session_->callEnded();
}

bool OneState::keeps(Session& session) noexcept
{
    if (!innermost || (innermost->session_ && innermost->session_ != &session))
        return false;
    innermost->session_ = &session;
    return true;
}

void OneState::forget(const Session& session) noexcept
{
    for (OneState* call = innermost; call; call = call->outer_)
        if (call->session_ == &session)
            call->session_ = nullptr;
}

} // namespace vqloan
