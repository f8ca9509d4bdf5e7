#include <gtest/gtest.h>

#include "platform/automation/Automation.h"

int main(int argc, char** argv)
{
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    testing::InitGoogleTest(&argc, argv);
    const int result = RUN_ALL_TESTS();
    CoUninitialize();
    return result;
}
