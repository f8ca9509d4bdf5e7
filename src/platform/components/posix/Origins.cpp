#include "platform/components/Origins.h"

namespace vqloan {

std::vector<Origin> componentOrigins()
{
    return {};
}

} // namespace vqloan
