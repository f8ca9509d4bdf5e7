#include "component/DispSvr.h"
#include "external/SysTools.h"
#include "site/Exchange.h"

namespace vqloan {

using site::Kind;

namespace {

std::u16string failure(std::u16string_view message, std::u16string_view detail = {})
{
    return std::u16string(1, site::failureMarker).append(message).append(detail);
}

// Moves the text before the answer's first TAB to the library code.
void split(std::u16string& answer, std::u16string& library)
{
    const Int16 position = DispSvr::FindNth(answer, site::tab, 1);
    if (position == 0)
        return;
    library.assign(answer, 0, static_cast<std::size_t>(position - 1));
    answer.erase(0, static_cast<std::size_t>(position));
}

} // namespace

std::u16string DispSvr::CallDB(std::u16string_view Inv, std::u16string& Bib)
{
    std::u16string answer;
    switch (static_cast<Kind>(DBType)) {
    case Kind::host:
        if (!Call7000(site::requestLine(site::command, site::hostInventory(Inv), Bib), answer))
            return answer; // a host's answer is a text, not a record: it stays whole
        break;
    case Kind::gateway:
        if (CallSql(site::command, Inv, Bib, answer))
            return failure(site::gatewayFailed);
        break;
    case Kind::database:
        answer = Make_LstDispo(Inv, Bib);
        if (answer.size() == 1 && site::isFailure(answer)) {
            std::int32_t zero = 0;
            return failure(site::databaseFailed, sysTools().ErrorText(Variant::missing(), zero));
        }
        break;
    case Kind::none:
        break;
    }
    split(answer, Bib);
    return answer;
}

} // namespace vqloan
