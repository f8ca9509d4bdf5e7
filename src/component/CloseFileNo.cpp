#include "component/CloseFileNo.h"

#include "platform/runtime/TextFiles.h"

namespace vqloan {

void CloseFileNo(std::int32_t& fileNo) noexcept
{
    if (fileNo <= 0)
        return;
    try {
        files::close(fileNo);
    } catch (...) { // the number is free all the same
    }
    fileNo = 0;
}

} // namespace vqloan
