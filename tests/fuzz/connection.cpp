// Connection texts: what is read can be written and read again, and no password is ever shown.
#include "Input.h"
#include "platform/ado/ConnectionString.h"
#include "platform/ado/Passwords.h"

using namespace vqloan;
using namespace vqloan::test;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::u16string text = text::fromUtf8(Input(data, size).rest());
    mayFail({static_cast<std::int32_t>(0x80040E73)}, [&] {
        const ConnectionString read(text);
        std::u16string written;
        for (const auto& pair : read.pairs())
            written.append(pair.key).append(u"=").append(enclosed(pair.value)).append(u";");
        const ConnectionString again(written);
        expect(again.pairs().size() == read.pairs().size(), "pairs", written);
        for (std::size_t i = 0; i < read.pairs().size(); ++i)
            expect(again.pairs()[i].value == read.pairs()[i].value, "value", written);
    });
    const std::u16string shown = ado::withoutPasswords(u"PWD={secret" + enclosed(text) + u"};x=1;" + text);
    expect(shown.find(u"secret") == shown.npos || text.find(u"secret") != text.npos, "shown", shown);
    return 0;
}
