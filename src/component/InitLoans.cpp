#include "component/DispSvr.h"

namespace vqloan {

// Kept for clients that call it; loans are not this component's business.
std::u16string DispSvr::InitLoans() noexcept
{
    return {};
}

} // namespace vqloan
