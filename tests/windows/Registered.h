// A site whose component is registered for the length of a test, and what such tests share.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <set>
#include <vector>

#include "Site.h"

namespace vqloan::test {

// The output of a command, and what it ended with.
inline std::pair<std::string, int> run(const std::wstring& command, const wchar_t* mode = L"r")
{
    FILE* const pipe = _wpopen(command.c_str(), mode);
    std::string output;
    for (int c; (c = std::fgetc(pipe)) != EOF;)
        output += static_cast<char>(c);
    return {output, _pclose(pipe)};
}

inline void list(HKEY parent, const std::wstring& path, std::set<std::wstring>& found)
{
    HKEY key = nullptr;
    if (RegOpenKeyExW(parent, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS)
        return;
    wchar_t name[512];
    DWORD size;
    for (DWORD i = 0;
         size = std::size(name), RegEnumKeyExW(key, i, name, &size, {}, {}, {}, {}) == ERROR_SUCCESS; ++i) {
        found.insert(path + L'\\' + name);
        list(parent, path + L'\\' + name, found);
    }
    for (DWORD i = 0;
         size = std::size(name), RegEnumValueW(key, i, name, &size, {}, {}, {}, {}) == ERROR_SUCCESS; ++i)
        found.insert(path + L" : " + name);
    RegCloseKey(key);
}

inline std::set<std::wstring> registry()
{
    std::set<std::wstring> found;
    for (const wchar_t* branch : {L"CLSID", L"Interface", L"TypeLib"})
        list(HKEY_LOCAL_MACHINE, std::wstring(L"Software\\Classes\\") + branch, found);
    list(HKEY_LOCAL_MACHINE, L"Software\\Classes\\VQLoan.DispSvr", found);
    list(HKEY_CURRENT_USER, L"Software\\Classes", found);
    return found;
}

inline ComPtr<_DispSvr> createByName()
{
    CLSID clsid{};
    ComPtr<_DispSvr> object;
    EXPECT_EQ(CLSIDFromProgID(L"VQLoan.DispSvr", &clsid), S_OK);
    EXPECT_EQ(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID__DispSvr, object.addressVoid()),
              S_OK);
    return object;
}

inline std::pair<std::string, int> runScript()
{
    const std::filesystem::path script = SOURCE_DIRECTORY L"/tests/windows/client.vbs";
    return run(L"cscript //nologo \"" + absolute(script).make_preferred().wstring() + L"\"");
}

class Registered : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        // Wine's script host registers things of its own when it runs first.
        EXPECT_NE(runScript().first.substr(0, 8), "_DispSvr") << "not registered yet";
    }
    void SetUp() override
    {
        std::filesystem::copy_file(COMPONENT_FILE, component);
        EXPECT_EQ(run(L"regsvr32 /s \"" + component.wstring() + L"\"").second, 0);
    }
    void TearDown() override
    {
        EXPECT_EQ(run(L"regsvr32 /u /s \"" + component.wstring() + L"\"").second, 0);
        std::vector<std::wstring> changed; // exactly what was registered is gone
        std::ranges::set_symmetric_difference(before, registry(), std::back_inserter(changed));
        EXPECT_EQ(changed, std::vector<std::wstring>());
    }

    const std::set<std::wstring> before = registry();
    ScratchDirectory directory;
    // A name that no 8-bit code page has as a whole.
    const std::filesystem::path site = directory.path() / L"sito \u00E0\u0416";
    const std::filesystem::path component = (create_directory(site), site / componentName);
};

} // namespace vqloan::test
