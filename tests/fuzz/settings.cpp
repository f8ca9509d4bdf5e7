// A settings file: nothing that follows changes what stands first.
#include "platform/components/Settings.h"
#include "Input.h"

using namespace vqloan::test;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Input input(data, size);
    const std::string bytes(input.rest());
    const vqloan::standins::Settings plain(bytes);
    const auto section = vqloan::text::fromUtf8(input.piece('\n')),
               key = vqloan::text::fromUtf8(input.piece('\n'));
    if (const std::u16string* value = plain.find(section, key))
        expect(value->find_first_of(u"\r\n") == value->npos, "more than a line", *value);
    const vqloan::standins::Settings first("[A]\nB=\" c \"\n" + bytes);
    const std::u16string* value = first.find(u"a", u"b");
    expect(value && *value == u" c ", "the first value", value ? *value : u"none");
    return 0;
}
