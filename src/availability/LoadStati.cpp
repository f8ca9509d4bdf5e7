#include "availability/RecordsetVariable.h"
#include "component/DispSvr.h"
#include "component/RecordError.h"
#include "site/Database.h"

namespace vqloan {

namespace {

std::u16string entryOf(const RecordsetVariable& row)
{
    std::u16string entry = row.text(u"CODBLOCMAT");
    entry.append(site::tab).append(row.text(u"MESSAGGIO"));
    entry.resize(site::statusEntryLength, u' ');
    return entry;
}

} // namespace

bool DispSvr::LoadStati() noexcept
{
    RecordsetVariable rows;
    try {
        rows.open(u"SELECT * FROM TABBLOCCOMAT", Conn);
        // Not before the query: when that fails, the former table stays in force.
        TabStati.assign(1, {});
        for (; !rows->Eof(); rows->MoveNext())
            TabStati.push_back(entryOf(rows));
        return false;
    } catch (...) {
        recordFailure(longSource, u".LoadStati, ");
        return true;
    }
}

} // namespace vqloan
