// Failures of a device, for which POSIX has a device of its own.
#include <gtest/gtest.h>

#include "Site.h"

namespace vqloan::test {
namespace {

TEST(Device, AFullDiskFailsTheExchange)
{
    Site site;
    site.settings("[CONFIG]\nPATH=" + site.directory.path().string() + "\n[CLIENT]\nID=7\nTIMEOUT=1\n");
    create_symlink(std::filesystem::path("/dev/full"), site.directory / "ZSQL_007.CL1");
    Client desk = site.client();
    ASSERT_FALSE(desk.open("SQL"));
    EXPECT_EQ(desk.ask("01|A|1"), "Codice Bibl. 01|Coll. A, Inv. 1|Errore nei parametri\n");
    EXPECT_EQ(desk.failure().number, 61);
}

} // namespace
} // namespace vqloan::test
