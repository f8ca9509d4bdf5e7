#include "request/HostParameters.h"

#include "config/LibraryLines.h"
#include "platform/runtime/Numbers.h"
#include "platform/runtime/RuntimeError.h"
#include "platform/runtime/Text.h"
#include "platform/runtime/TextFiles.h"

namespace vqloan {

namespace {

std::u16string trimmedLine(std::int32_t fileNo)
{
    std::u16string line = files::readLine(fileNo);
    line.resize(text::trimRight(line).size());
    return line.erase(0, line.size() - text::trimLeft(line).size());
}

std::u16string valueOf(std::u16string line)
{
    return line.erase(0, line.find(u'=') + 1); // without "=" nothing is taken away
}

} // namespace

HostParameters readHostParameters(std::int32_t fileNo)
{
    const auto value = [fileNo] { return valueOf(trimmedLine(fileNo)); };
    const auto withoutLeadingBlanks = [&] { return std::u16string(text::trimLeft(value())); };
    const auto number = [&] { return numbers::leadingNumber(value()); };
    const auto unusedNumber = [&] { numbers::toInteger(number()); }; // out of range it fails all the same
    const auto unusedText = [&] { value(); };

    HostParameters parameters;
    const std::u16string client = u"00" + std::u16string(text::trim(value()));
    parameters.clientNumber = client.substr(client.size() - 2);
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

    const std::u16string last = trimmedLine(fileNo);
    const auto equals = last.find(u'=');
    if (equals == std::u16string::npos)
        throw RuntimeError(Failure::InvalidCall);
    parameters.localKey = last.substr(0, equals);
    parameters.localAnswer = text::trimLeft(std::u16string_view(last).substr(equals + 1));
    return parameters;
}

std::int32_t readHostLibraries(std::int32_t fileNo, LibraryTable& table)
{
    std::int32_t count = 0;
    while (!files::atEnd(fileNo)) {
        const std::u16string line = trimmedLine(fileNo);
        if (line.starts_with(u"codbib="))
            settings::storeLibraryLine(table, ++count, line);
    }
    return count;
}

} // namespace vqloan
