#include "component/DispSvr.h"

namespace vqloan {

bool DispSvr::IsConnected() noexcept
{
    try {
        // Exactly open: a connection that is still executing or fetching does not count.
        return Conn && Conn->State() == ado::stateOpen;
    } catch (...) { // a connection that cannot even tell its state is none
        return false;
    }
}

} // namespace vqloan
