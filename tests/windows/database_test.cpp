// The "SQL2" back end over the system's ADO, in whose place Adodb.h stands.
#include <gtest/gtest.h>

#include <functional>

#include "../Network.h"
#include "Adodb.h"
#include "Site.h"
#include "external/Ado.h"
#include "platform/runtime/RuntimeError.h"
#include "platform/runtime/windows/LateBound.h"

namespace vqloan::test {
namespace {

TEST(Ado, IsAskedInTheOrderThatIsPublished)
{
    Adodb ado;
    Site site;
    Client desk = site.client();
    site.settings("[SERVER]\nCONNECT=Provider=P;x\nTIMEOUT=30\nCOMMTIMEOUT=60\nCURSOR=3\nOPTIONS=16\n"
                  "USERNAME=desk\nPASSWORD=secret\nINVENTARIO=1\n" +
                  messages);
    ASSERT_FALSE(desk.open("SQL2")) << desk.failure().description;
    EXPECT_EQ(ado.calls(),
              "Connection.ConnectionTimeout 30\nConnection.CommandTimeout 60\nConnection.CursorLocation 3\n"
              "Connection.Open \"Provider=P;x\", \"desk\", \"secret\", 16\n"
              "Recordset.Open \"SELECT * FROM TABBLOCCOMAT\", object, 2, 1, 1\nRecordset.Close\n");

    EXPECT_EQ(desk.ask("O'1||X'Y"), "Inv. X'Y|Civica|Inv. X'Y|In prestito|29-02-2024|||\n");
    EXPECT_EQ(ado.calls(),
              "Recordset.Open \"SELECT FLGMOVIM, DESCR FROM TABBIBLIOTECHE WHERE CODBIB = 'O''1'\", object, "
              "2, 1, 1\n"
              "Recordset.Close\n"
              "Recordset.Open \"SELECT * FROM MOVIMENTI WHERE CODBIB = 'O''1' AND INVENTARIO = 'X''Y' AND "
              "FLGCHIUSO IS NULL\", object, 2, 1, 1\n"
              "Recordset.Open \"SELECT POSSEDUTO.*, TABBIBLIOTECHE.DESCR FROM POSSEDUTO LEFT JOIN "
              "TABBIBLIOTECHE ON "
              "POSSEDUTO.CODBIB = TABBIBLIOTECHE.CODBIB WHERE POSSEDUTO.CODBIB ='O''1' AND INVENTARIO = "
              "'X''Y'\", object, 2, 1, 1\n"
              "Recordset.Close\nRecordset.Close\n");
    desk.object->ShutDown();
    EXPECT_EQ(ado.calls(), "Connection.Close\n");

    site.settings("[SERVER]\nCONNECT=network\nPASSWORD=secret\n");
    ASSERT_FALSE(desk.open("SQL2"));
    EXPECT_EQ(ado.calls().substr(0, 43), "Connection.Open \"network\", \"\", \"\", -1\nRecor")
        << "nothing is set that is not configured, and no password without a user";
}

TEST(Ado, FailuresHaveTheProvidersNumberAndText)
{
    const Adodb ado;
    Site site;
    site.settings("[SERVER]\nCONNECT=refuse\n");
    Client desk = site.client();
    EXPECT_TRUE(desk.open("SQL2"));
    EXPECT_EQ(desk.failure().number, static_cast<std::int32_t>(0x80004005));
    EXPECT_EQ(desk.failure().description, "Accesso rifiutato €");
    EXPECT_EQ(desk.failure().source, "VQLoan.SvrODBC.OpenDatabase, 0");

    const auto recordset = createRecordset();
    const auto connection = createConnection();
    // What is wrong, the call, the failure's number, the beginning of its text.
    const std::tuple<const char*, std::function<void()>, std::int32_t, const char*> cases[] = {
        {"no connection", [&] { recordset->Open(u"SELECT 1", nullptr, 2, 1, 1); }, 91, "Object variable"},
        {"no such table", [&] { recordset->Open(u"SELECT * FROM X", connection, 2, 1, 1); },
         static_cast<std::int32_t>(0x80040E37), "no such table"},
        {"no such column",
         [&] {
             recordset->Open(u"SELECT * FROM POSSEDUTO", connection, 2, 1, 1);
             recordset->Item(u"X");
         },
         3265, "Item cannot be found"},
        {"without a text", [&] { connection->Open(u"silent", u"", u"", -1); },
         static_cast<std::int32_t>(0x80AB1234), "Automation error"},
        {"no such member", [] { LateBound::create(L"ADODB.Recordset").call(L"Supports"); }, 438,
         "Object doesn't"},
        {"no such class", [] { LateBound::create(L"VQLoan.Nothing"); }, 429, "ActiveX component can't"},
    };
    for (const auto& [what, call, number, text] : cases) {
        const Failed failed = failureOf(call);
        EXPECT_EQ(failed.number, number) << what;
        EXPECT_TRUE(failed.description.starts_with(text)) << what;
    }
}

} // namespace
} // namespace vqloan::test
