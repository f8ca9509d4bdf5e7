// The failures that the ADO objects report themselves; the providers add the database's own.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/runtime/RuntimeError.h"

namespace vqloan::ado {

// HRESULTs of what a database reports.
inline constexpr auto connectionFailed = static_cast<std::int32_t>(0x80004005);
inline constexpr auto statementFailed = static_cast<std::int32_t>(0x80040E14);
inline constexpr auto timeLimitPassed = static_cast<std::int32_t>(0x80040E31);
inline constexpr auto malformedConnectionText = static_cast<std::int32_t>(0x80040E73);

// Misuse of an object, in the runtime's numbering: a client sees them as 0x800A0000 + number.
enum class Misuse : std::int32_t
{
    InvalidArgument = 3001,
    NoCurrentRow = 3021,
    ItemNotFound = 3265,
    ObjectClosed = 3704,
    ObjectOpen = 3705,
    ProviderNotFound = 3706,
    ConnectionInvalid = 3709,
};

RuntimeError failure(Misuse misuse, std::u16string source);
// The provider that a connection text asks for is not there. Its name is not told: it may be a password in
// the wrong place.
RuntimeError providerNotFound();

inline constexpr std::u16string_view connectionSource = u"ADODB.Connection";
inline constexpr std::u16string_view recordsetSource = u"ADODB.Recordset";

} // namespace vqloan::ado
