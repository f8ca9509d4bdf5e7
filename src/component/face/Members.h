// The members of _DispSvr as data: what dispatch, the type library and the tests agree on.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

#include "component/face/DispSvrInterface.h"

namespace vqloan {

enum class MemberKind : WORD
{
    method = DISPATCH_METHOD,
    get = DISPATCH_PROPERTYGET,
    put = DISPATCH_PROPERTYPUT,
    putref = DISPATCH_PROPERTYPUTREF,
};

enum class Passing
{
    in,            // by value
    inOut,         // by reference: the member reads it and may replace it
    optionalInOut, // the same, and may be left out
};

struct Parameter
{
    std::u16string_view name; // empty for the value of a put, which callers cannot name
    VARTYPE type = VT_EMPTY;
    Passing passing = Passing::in;
};

inline constexpr std::size_t maxParameters = 6;

struct Member
{
    std::u16string_view name;
    DISPID id;
    MemberKind kind;
    VARTYPE result; // VT_EMPTY: none
    std::array<Parameter, maxParameters> parameterSlots{};

    constexpr std::size_t parameterCount() const noexcept
    {
        return static_cast<std::size_t>(
            std::ranges::count_if(parameterSlots, [](const Parameter& p) { return p.type != VT_EMPTY; }));
    }
};

// In the order of the slots, the first of which follows the seven of IDispatch.
inline constexpr std::size_t firstSlot = 7;
inline constexpr auto members = std::to_array<Member>({
    {u"BibPosse", 0x40030002, MemberKind::get, VT_BSTR, {}},
    {u"BibPosse", 0x40030002, MemberKind::put, VT_EMPTY, {{{u"", VT_BSTR}}}},
    {u"DBType", 0x40030003, MemberKind::get, VT_I2, {}},
    {u"DBType", 0x40030003, MemberKind::put, VT_EMPTY, {{{u"", VT_I2}}}},
    {u"OpenDatabase",
     0x60030005,
     MemberKind::method,
     VT_BOOL,
     {{{u"ConnectString", VT_VARIANT, Passing::inOut}}}},
    {u"ShutDown", 0x60030007, MemberKind::method, VT_EMPTY, {}},
    {u"ErrNumber", 0x6003000A, MemberKind::method, VT_I4, {}},
    {u"InitLoans", 0x6003000B, MemberKind::method, VT_BSTR, {}},
    {u"LastError",
     0x6003000C,
     MemberKind::method,
     VT_EMPTY,
     {{{u"Number", VT_VARIANT, Passing::optionalInOut},
       {u"Source", VT_VARIANT, Passing::optionalInOut},
       {u"Description", VT_VARIANT, Passing::optionalInOut},
       {u"HelpFile", VT_VARIANT, Passing::optionalInOut},
       {u"HelpContext", VT_VARIANT, Passing::optionalInOut},
       {u"LastDLLError", VT_VARIANT, Passing::optionalInOut}}}},
    {u"VisNre",
     0x60030012,
     MemberKind::method,
     VT_BSTR,
     {{{u"Handle", VT_BSTR, Passing::inOut}, {u"Bid", VT_BSTR, Passing::inOut}, {u"Buf", VT_BSTR}}}},
    {u"TestCodBib", 0x60030013, MemberKind::method, VT_BSTR, {{{u"CodBib", VT_BSTR, Passing::inOut}}}},
    {u"ZObj", 0x68030000, MemberKind::get, VT_DISPATCH, {}},
    {u"ZObj", 0x68030000, MemberKind::putref, VT_EMPTY, {{{u"", VT_DISPATCH}}}},
    {u"Load_Messa", 0x60030014, MemberKind::method, VT_EMPTY, {}},
});

} // namespace vqloan
