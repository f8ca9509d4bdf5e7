// What lies in an exchange directory as a gateway's or a host's answer: it makes one line, whatever it holds.
#include "FailureOf.h"
#include "Input.h"
#include "ScratchDirectory.h"
#include "component/DispSvr.h"
#include "platform/automation/Automation.h"

using namespace vqloan;
using namespace vqloan::test;

namespace {

struct Exchange
{
    Exchange()
    {
        write(directory / "CLIENT.PAR",
              "1\r\n0\r\n" + directory.path().string() +
                  "/\r\n\r\n\r\n80\r\n\r\n\r\n\r\n\r\nlate\r\nempty\r\n\r\nG=t\r\n");
        AutomationSetPendingEvents(
            [](void* exchange) {
                const auto* self = static_cast<Exchange*>(exchange);
                write(self->directory / "Z7000_01.CL2", self->answer);
            },
            this);
        gateway.ExchPath = directory.path().u16string();
        gateway.DBType = 2;
        host.DBType = 1;
        host.SettingsDir = directory.path().u16string();
        host.TabBib[0] = {u"01", u"aa", u"Civica"};
    }

    ScratchDirectory directory;
    std::string answer;
    DispSvr gateway, host;
};

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static Exchange exchange;
    exchange.answer = std::string(Input(data, size).rest()) + "\r\n";
    write(exchange.directory / "ZSQL_000.CL2", exchange.answer);
    for (DispSvr* server : {&exchange.gateway, &exchange.host}) {
        const std::u16string line = server->VisNre(u"01\t\tx9");
        expect(line.find(u"\r\n") + 2 == line.size() || server->ErrNumber() == 6, "the line", line);
    }
    return 0;
}
