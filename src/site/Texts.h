// The fixed texts of answers, and the marks in them.
#pragma once

#include <string_view>

namespace vqloan::site {

inline constexpr std::u16string_view lineEnd = u"\r\n";
inline constexpr std::u16string_view tab = u"\t";

// First character of a result that reports a failure; the rest is the message to show.
inline constexpr char16_t failureMarker = u'\0';
constexpr bool isFailure(std::u16string_view result) noexcept
{
    return !result.empty() && result.front() == failureMarker;
}

// In front of the name of a library whose group is not asked about.
inline constexpr std::u16string_view skippedMark = u"**";

// What describes a copy.
inline constexpr std::u16string_view shelfMarkLabel = u"Coll. ";
inline constexpr std::u16string_view inventoryLabel = u"Inv. ";
inline constexpr std::u16string_view describedSeparator = u", ";
// A line that failed begins with this and the library code.
inline constexpr std::u16string_view failedLabel = u"Codice Bibl. ";

// Told without asking the host.
inline constexpr std::u16string_view notVerifiable = u"Disponibilità non verificabile";
inline constexpr std::u16string_view notListed = u"Opera non posseduta dalla biblioteca";

// Told of a failure; the second is followed by the recorded failure's text.
inline constexpr std::u16string_view gatewayFailed = u"Errore nei parametri";
inline constexpr std::u16string_view databaseFailed = u"ERRORE: ";

// Told by our own gateway and host of a request that they cannot understand, and by the gateway where the
// database tells nothing.
inline constexpr std::u16string_view invalidRequest = u"Richiesta non valida";
inline constexpr std::u16string_view noAnswer = u"Nessuna risposta";

} // namespace vqloan::site
