// CLIENT.PAR, as the opening and as the host call read it.
#include "Input.h"
#include "ScratchDirectory.h"
#include "config/LibraryLines.h"
#include "platform/runtime/TextFiles.h"
#include "request/HostParameters.h"

using namespace vqloan;
using namespace vqloan::test;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const ScratchDirectory directory;
    const std::u16string file = writtenTo(directory, "CLIENT.PAR", std::string(Input(data, size).rest()));
    LibraryTable table, opened;
    std::u16string code, text;
    mayFail({5, 6, 9, 62}, [&] {
        files::openForReading(1, file);
        const HostParameters parameters = readHostParameters(1);
        expect(parameters.clientNumber.size() == 2, "client number", parameters.clientNumber);
        expect(readHostLibraries(1, table) <= table.size(), "libraries");
    });
    files::closeAll();
    mayFail({5, 6, 9, 62}, [&] {
        files::openForReading(1, file);
        settings::loadLibraryLines(1, opened, code, text);
    });
    files::closeAll();
    return 0;
}
