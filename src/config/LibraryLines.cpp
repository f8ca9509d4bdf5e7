#include "config/LibraryLines.h"

#include "platform/runtime/RuntimeError.h"
#include "platform/runtime/TextFiles.h"

namespace vqloan::settings {

void storeLibraryLine(LibraryTable& table, std::size_t row, std::u16string_view line)
{
    if (row >= table.size())
        throw RuntimeError(Failure::SubscriptOutOfRange);
    table[row] = site::libraryOf(line);
}

void loadLibraryLines(std::int32_t fileNo, LibraryTable& table, std::u16string& skipCode,
                      std::u16string& skipText)
{
    std::size_t row = 0;
    std::u16string previous;
    while (!files::atEnd(fileNo)) {
        const std::u16string_view line = files::readLine(fileNo);
        if (site::isLibraryLine(line)) {
            storeLibraryLine(table, row++, line);
            const auto equals = previous.find(u'=');
            if (!site::isLibraryLine(previous) && equals != std::u16string::npos) {
                skipCode = previous.substr(0, equals);
                skipText = previous.substr(equals + 1);
            }
        }
        previous = line;
    }
}

} // namespace vqloan::settings
