// A request: as many lines come back as were asked, unless a counter or position ended.
#include <algorithm>

#include "FailureOf.h"
#include "Input.h"
#include "component/DispSvr.h"

using namespace vqloan;
using namespace vqloan::test;

namespace {

std::size_t lines(std::u16string_view text)
{
    std::size_t count = text.empty() || text.ends_with(u"\r\n") ? 0 : 1;
    for (auto at = text.find(u"\r\n"); at != text.npos; at = text.find(u"\r\n", at + 2))
        ++count;
    return count;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static DispSvr server;
    Input input(data, size);
    server.DBType =
        static_cast<std::int16_t>(input.byte() % 3); // none, host, gateway: neither can be reached
    server.BibPosse = text::fromCodePage(input.piece('\n'));
    server.ExchPath = u"/nowhere";
    for (const std::u16string& request : {text::fromUtf8(input.rest()), text::fromCodePage(input.rest())}) {
        const std::u16string answer = server.VisNre(request);
        expect(lines(answer) == lines(request) || (answer.empty() && server.ErrNumber() == 6), "the answer",
               answer);
    }
    return 0;
}
