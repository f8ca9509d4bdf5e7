// CLIENT.PAR: fourteen parameter lines by position, then the libraries. The value of a parameter line is what
// follows its first "=", or the whole line without one; what stands before the "=" counts on line 14 only.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/runtime/Text.h"

namespace vqloan::site {

inline constexpr std::u16string_view hostFile = u"CLIENT.PAR";

// The lines that are used, by their numbers. The others are read and their numbers checked, no more.
enum class Line
{
    clientNumber = 1,
    waitLimit = 2,
    directory = 3,
    width = 6,
    timeOutText = 11,
    emptyText = 12,
    localAnswer = 14
};

enum class LineForm
{
    text,
    single, // the number that the value begins with, in single precision
    integer // the same, rounded to 16 bits
};

struct ParameterLine
{
    LineForm form;
    std::u16string_view meaning;
};

// In the order of the file.
inline constexpr ParameterLine parameterLines[] = {
    {LineForm::text, u"client number"},
    {LineForm::single, u"wait limit in seconds"},
    {LineForm::text, u"exchange directory"},
    {LineForm::integer, u"(not used, a number)"},
    {LineForm::integer, u"(not used, a number)"},
    {LineForm::integer, u"answer width"},
    {LineForm::integer, u"(not used, a number)"},
    {LineForm::text, u"(not used)"},
    {LineForm::text, u"(not used)"},
    {LineForm::integer, u"(not used, a number)"},
    {LineForm::text, u"time-out text"},
    {LineForm::text, u"text for an empty answer"},
    {LineForm::text, u"(not used)"},
    {LineForm::text, u"local key and its answer; skipped group"},
};

// Without "=" the whole line.
constexpr std::u16string_view valueOf(std::u16string_view line) noexcept
{
    return line.substr(line.find(u'=') + 1);
}

// --- Library lines: "codbib=CC,GG,Name", by fixed positions; the separators are not looked at ---

inline constexpr std::u16string_view libraryKey = u"codbib=";
inline constexpr std::size_t mostLibraries = 10;

struct Library
{
    std::u16string code, group, name;
};

// To OpenDatabase, which takes the key in any letter case. The host call takes it in lower case only, and
// trims the line first.
inline bool isLibraryLine(std::u16string_view line)
{
    return text::equalsIgnoringCase(line.substr(0, libraryKey.size()), libraryKey);
}

// A shorter line gives shorter or empty fields.
inline Library libraryOf(std::u16string_view line)
{
    const auto field = [line](auto... positions) { return std::u16string(text::mid(line, positions...)); };
    return {.code = field(8, 2), .group = field(11, 2), .name = field(14)};
}

} // namespace vqloan::site
