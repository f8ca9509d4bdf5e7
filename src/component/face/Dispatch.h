// Calls of _DispSvr by name, for clients that know no slots: scripts.
#pragma once

#include "component/face/DispSvrInterface.h"

namespace vqloan {

// The DISPIDs of a member's name and of names of its parameters, without regard to case. A name that is not
// known gets DISPID_UNKNOWN, and the result is DISP_E_UNKNOWNNAME.
HRESULT idsOfNames(const LPOLESTR* names, UINT count, DISPID* ids);

// Calls the member with arguments by position, name and default, converted to its parameters' types. What the
// member makes of a by-reference argument is written back to it even when the member fails.
//
//   DISP_E_MEMBERNOTFOUND     no such member, or none of the kind that `flags` ask for
//   DISP_E_BADPARAMCOUNT      more arguments than parameters
//   DISP_E_PARAMNOTFOUND      an argument named after no parameter, or after one that is taken
//   DISP_E_PARAMNOTOPTIONAL   a parameter without its argument
//   DISP_E_TYPEMISMATCH, DISP_E_OVERFLOW, ...  an argument that cannot be converted
//   DISP_E_EXCEPTION          the member failed: `exception` tells
//
// `argumentInError` gets the index in rgvarg where one argument is to blame. All pointers may be null but
// `arguments`.
HRESULT invokeMember(_DispSvr& object, DISPID id, WORD flags, const DISPPARAMS& arguments, VARIANT* result,
                     EXCEPINFO* exception, UINT* argumentInError);

} // namespace vqloan
