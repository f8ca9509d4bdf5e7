#include "request/HostParameters.h"

#include "config/LibraryLines.h"
#include "platform/runtime/Numbers.h"
#include "platform/runtime/RuntimeError.h"
#include "platform/runtime/Text.h"
#include "platform/runtime/TextFiles.h"
#include "site/Exchange.h"

namespace vqloan {

namespace {

// A part of the line that was read last.
std::u16string_view trimmedLine(std::int32_t fileNo)
{
    return text::trim(files::readLine(fileNo));
}

} // namespace

HostParameters readHostParameters(std::int32_t fileNo)
{
    HostParameters parameters;
    int number = 0;
    for (const site::ParameterLine& row : site::parameterLines) {
        const std::u16string_view line = trimmedLine(fileNo), value = site::valueOf(line),
                                  text = text::trimLeft(value);
        Int16 integer = 0;
        if (row.form == site::LineForm::integer) // out of range it fails even where it is not used
            integer = numbers::toInteger(numbers::leadingNumber(value));
        switch (static_cast<site::Line>(++number)) {
        case site::Line::clientNumber:
            parameters.clientNumber = site::hostClient(text::trim(value));
            break;
        case site::Line::waitLimit:
            parameters.waitLimit = numbers::toSingle(numbers::leadingNumber(value));
            break;
        case site::Line::directory:
            parameters.directory = value;
            break;
        case site::Line::width:
            parameters.width = integer;
            break;
        case site::Line::timeOutText:
            parameters.timeOutText = text;
            break;
        case site::Line::emptyText:
            parameters.emptyText = text;
            break;
        case site::Line::localAnswer:
            if (line.size() == value.size())
                throw RuntimeError(Failure::InvalidCall); // there is no "="
            parameters.localKey = line.substr(0, line.find(u'='));
            parameters.localAnswer = text;
            break;
        }
    }
    return parameters;
}

std::size_t readHostLibraries(std::int32_t fileNo, LibraryTable& table)
{
    std::size_t count = 0;
    while (!files::atEnd(fileNo)) {
        const std::u16string_view line = trimmedLine(fileNo);
        if (line.starts_with(site::libraryKey))
            settings::storeLibraryLine(table, count++, line);
    }
    return count;
}

} // namespace vqloan
