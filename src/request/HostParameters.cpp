#include "request/HostParameters.h"

#include "config/LibraryLines.h"
#include "platform/runtime/Numbers.h"
#include "platform/runtime/RuntimeError.h"
#include "platform/runtime/Text.h"
#include "platform/runtime/TextFiles.h"

namespace vqloan {

namespace {

// These give a part of the line that was read last.

std::u16string_view trimmedLine(std::int32_t fileNo)
{
    return text::trim(files::readLine(fileNo));
}

std::u16string_view valueOf(std::u16string_view line)
{
    return line.substr(line.find(u'=') + 1); // without "=" all of it
}

} // namespace

HostParameters readHostParameters(std::int32_t fileNo)
{
    const auto value = [fileNo] { return valueOf(trimmedLine(fileNo)); };
    const auto withoutLeadingBlanks = [&] { return text::trimLeft(value()); };
    const auto number = [&] { return numbers::leadingNumber(value()); };
    const auto unusedNumber = [&] { numbers::toInteger(number()); }; // out of range it fails all the same
    const auto unusedText = [&] { value(); };

    HostParameters parameters;
    parameters.clientNumber = std::u16string(u"00").append(text::trim(value()));
    parameters.clientNumber.erase(0, parameters.clientNumber.size() - 2);
    parameters.waitLimit = numbers::toSingle(number());
    parameters.directory = value();
    unusedNumber();
    unusedNumber();
    parameters.width = numbers::toInteger(number());
    unusedNumber();
    unusedText();
    unusedText();
    unusedNumber();
    parameters.timeOutText = withoutLeadingBlanks();
    parameters.emptyText = withoutLeadingBlanks();
    unusedText();

    const std::u16string_view last = trimmedLine(fileNo);
    const auto equals = last.find(u'=');
    if (equals == std::u16string::npos)
        throw RuntimeError(Failure::InvalidCall);
    parameters.localKey = last.substr(0, equals);
    parameters.localAnswer = text::trimLeft(last.substr(equals + 1));
    return parameters;
}

std::int32_t readHostLibraries(std::int32_t fileNo, LibraryTable& table)
{
    std::int32_t count = 0;
    while (!files::atEnd(fileNo)) {
        const std::u16string_view line = trimmedLine(fileNo);
        if (line.starts_with(u"codbib="))
            settings::storeLibraryLine(table, ++count, line);
    }
    return count;
}

} // namespace vqloan
