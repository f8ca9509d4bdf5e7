// The component's file, as this system's own tools see it.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "Component.h"

namespace vqloan::test {
namespace {

TEST(Component, ExactlyTheFourEntryPointsAreExported)
{
    FILE* const symbols = popen("nm -D --defined-only '" COMPONENT_FILE "'", "r");
    ASSERT_TRUE(symbols);
    std::vector<std::string> names;
    char address[64], type[8], name[512];
    while (std::fscanf(symbols, "%63s %7s %511s", address, type, name) == 3)
        names.emplace_back(name);
    pclose(symbols);
    EXPECT_EQ(names, (std::vector<std::string>{"DllCanUnloadNow", "DllGetClassObject", "DllRegisterServer",
                                               "DllUnregisterServer"}));
}

} // namespace
} // namespace vqloan::test
