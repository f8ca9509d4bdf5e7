// A request over HTTP: however its bytes come in pieces, it is the same one, or is refused for the same
// reason.
#include "Input.h"
#include "http/RequestReader.h"

using namespace vqloan;
using namespace vqloan::test;
using namespace vqloan::client::http;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Input input(data, size);
    const std::size_t piece = 1 + input.byte();
    std::string whole(input.rest()), pieces;
    RequestReader atOnce, inPieces;
    const auto step = atOnce.advance(whole);
    auto other = RequestReader::Step::more;
    std::size_t at = 0;
    for (; at < input.rest().size() && other == RequestReader::Step::more; at += piece) {
        pieces += input.rest().substr(at, piece);
        other = inPieces.advance(pieces);
    }
    expect(step == other && atOnce.refusal().status == inPieces.refusal().status, "steps");
    if (step != RequestReader::Step::whole)
        return 0;
    pieces += input.rest().substr(std::min(at, input.rest().size()));
    const Incoming one = atOnce.take(), same = inPieces.take();
    expect(one.method == same.method && one.target == same.target && one.body == same.body, "requests");
    expect(one.keepsOpen == same.keepsOpen && whole == pieces, "rests");
    for (const auto& [name, value] : parametersOf(one.target))
        expect(name.size() + value.size() <= one.target.size(), "parameters");
    return 0;
}
