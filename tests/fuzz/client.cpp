// What the client's programs read: a host's table, requests of an exchange, and answer lines.
#include "gateway.cpp"
#include "host.cpp"

#include "Input.h"
#include "ScratchDirectory.h"

using namespace vqloan;
using namespace vqloan::client;
using namespace vqloan::test;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Input input(data, size);
    const auto request = text::fromCodePage(input.piece('\n')), line = text::fromUtf8(input.rest());
    std::u16string inventory, library;
    if (takeApart(request, inventory, library))
        expect((inventory + library).find(u'\t') == std::u16string::npos, "a TAB in the request", request);
    for (const Kind kind : {Kind::host, Kind::database}) {
        const Answer answer = takeApart(kind, line);
        std::u16string joined;
        for (const auto& field : answer.fields)
            joined.append(field).append(u"\t");
        expect(joined == line + u"\t", "fields", line);
        expect(answer.outcome != Outcome::answer || answer.fields.size() > 1, "an answer without fields",
               line);
    }
    static const ScratchDirectory directory;
    try {
        write(directory / "host.txt", std::string(input.rest()));
        const std::u16string told = HostTable(directory / "host.txt").answer(request);
        expect(told.find_first_of(u"\t\n") == told.npos, "more than a field", told);
    } catch (const std::runtime_error&) { // says which line
    }
    return 0;
}
