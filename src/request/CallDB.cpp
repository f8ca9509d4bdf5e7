#include "component/DispSvr.h"
#include "external/SysTools.h"

namespace vqloan {

namespace {

// The legacy host knows inventory numbers by their last six characters.
std::u16string hostRequest(std::u16string_view inventory, std::u16string_view library)
{
    const auto last = inventory.substr(inventory.size() - std::min<std::size_t>(inventory.size(), 6));
    return std::u16string(u"WL,").append(last).append(u",").append(library);
}

std::u16string failure(std::u16string_view message)
{
    return std::u16string(1, failureMarker).append(message);
}

// Moves the text before the answer's first TAB to the library code.
void split(std::u16string& answer, std::u16string& library)
{
    const auto found = answer.find(u'\t');
    if (found == std::u16string::npos)
        return;
    const Int16 position = found + 1;
    library.assign(answer, 0, static_cast<std::size_t>(position - 1));
    answer.erase(0, static_cast<std::size_t>(position));
}

} // namespace

std::u16string DispSvr::CallDB(std::u16string_view Inv, std::u16string& Bib, std::u16string_view /*Note*/)
{
    std::u16string answer;
    switch (DBType) {
    case backend::host:
        if (!Call7000(hostRequest(Inv, Bib), answer))
            return answer; // a host's answer is a text, not a record: it stays whole
        break;
    case backend::gateway:
        if (CallSql(u"WL", Inv, Bib, answer))
            return failure(u"Errore nei parametri");
        break;
    case backend::database:
        answer = Make_LstDispo(Inv, Bib);
        if (answer.size() == 1 && isFailure(answer)) {
            std::int32_t zero = 0;
            return failure(u"ERRORE: " + sysTools().ErrorText(Variant::missing(), zero));
        }
        break;
    default: // no back end is open
        break;
    }
    split(answer, Bib);
    return answer;
}

} // namespace vqloan
