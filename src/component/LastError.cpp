#include "component/DispSvr.h"
#include "external/SysTools.h"

namespace vqloan {

void DispSvr::LastError(VARIANT* Number, VARIANT* Source, VARIANT* Description, VARIANT* HelpFile,
                        VARIANT* HelpContext, VARIANT* LastDLLError)
{
    sysTools().GetError(Number, Source, Description, HelpFile, HelpContext, LastDLLError);
}

} // namespace vqloan
