// Files and settings as the system keeps them.
#include <gtest/gtest.h>

#include <functional>

#include "Site.h"
#include "external/SysTools.h"
#include "platform/runtime/OsFile.h"
#include "platform/runtime/OsProcess.h"
#include "platform/runtime/PendingEvents.h"
#include "platform/runtime/RuntimeError.h"
#include "platform/runtime/TextFiles.h"

namespace vqloan::test {
namespace {

TEST(System, FileFailuresAreTheRuntimes)
{
    const ScratchDirectory directory;
    const auto path = [&](const char* name) { return (directory / name).u16string(); };
    write(directory / "held", "x");
    write(directory / "fixed", "x");
    SetFileAttributesW((directory / "fixed").c_str(), FILE_ATTRIBUTE_READONLY);
    create_directory(directory / "folder");
    const HANDLE held =
        CreateFileW((directory / "held").c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    const auto opens = [&](const char* name) { return [=] { files::openForReading(1, path(name)); }; };
    const auto creates = [&](const char* name) { return [=] { files::openForWriting(1, path(name)); }; };
    const auto removes = [&](const char* name) { return [=] { files::remove(path(name)); }; };
    // What is done, how, the failure's number, the system's.
    const std::tuple<const char*, std::function<void()>, int, int> cases[] = {
        {"no file", opens("none"), 53, ERROR_FILE_NOT_FOUND},
        {"no directory", opens("none\\x"), 76, ERROR_PATH_NOT_FOUND},
        {"a directory", opens("folder"), 75, ERROR_ACCESS_DENIED},
        {"kept by another", opens("held"), 70, ERROR_SHARING_VIOLATION},
        {"no name", opens("a<b"), 52, ERROR_INVALID_NAME},
        {"a device", [] { files::openForReading(1, u"NUL"); }, 75, ERROR_CANT_RESOLVE_FILENAME},
        {"write: no directory", creates("none\\x"), 76, ERROR_PATH_NOT_FOUND},
        {"write: a directory", creates("folder"), 75, ERROR_ACCESS_DENIED},
        {"write: kept by another", creates("held"), 70, ERROR_SHARING_VIOLATION},
        {"delete: no file", removes("none"), 53, ERROR_FILE_NOT_FOUND},
        {"delete: a directory", removes("folder"), 75, ERROR_ACCESS_DENIED},
        {"delete: read-only", removes("fixed"), 75, ERROR_ACCESS_DENIED},
        {"delete: kept by another", removes("held"), 70, ERROR_SHARING_VIOLATION},
    };
    for (const auto& [what, step, number, systemError] : cases) {
        const Failed failed = failureOf(step);
        EXPECT_EQ(failed.number, number) << what;
        EXPECT_EQ(failed.systemError, systemError) << what;
        files::closeAll();
    }
    EXPECT_TRUE(os::isHeld(path("held"))) << "its writer has not let go of it";
    CloseHandle(held);
    EXPECT_FALSE(os::isHeld(path("held")));
    const HANDLE reader = CreateFileW((directory / "held").c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                      OPEN_EXISTING, 0, nullptr);
    EXPECT_TRUE(os::isHeld(path("held"))) << "it could not be deleted";
    CloseHandle(reader);
    SetFileAttributesW((directory / "fixed").c_str(), FILE_ATTRIBUTE_NORMAL);
}

int handled;

LRESULT CALLBACK postAgain(HWND self, UINT message, WPARAM first, LPARAM second)
{
    if (message == WM_APP) {
        ++handled;
        PostMessageW(self, WM_APP, 0, 0);
    }
    return DefWindowProcW(self, message, first, second);
}

TEST(System, APassOfEventsEndsThoughEachPostsAnother)
{
    const HWND window =
        CreateWindowExW(0, L"STATIC", nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    SetWindowLongPtrW(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(postAgain));
    PostMessageW(window, WM_APP, 0, 0);
    const ULONGLONG start = GetTickCount64();
    runPendingEvents();
    EXPECT_LT(GetTickCount64() - start, 500U);
    EXPECT_GT(handled, 0);
    DestroyWindow(window);
}

TEST(System, EnvironmentAndErrorTexts)
{
    const std::u16string longValue(5000, u'\u0416');
    SetEnvironmentVariableW(L"VQLOAN_TEST_LONG", toOle(longValue.c_str()));
    SetEnvironmentVariableW(L"VQLOAN_TEST_EMPTY", L"");
    EXPECT_EQ(os::environmentVariable(u"VQLOAN_TEST_LONG"), longValue);
    EXPECT_EQ(os::environmentVariable(u"VQLOAN_TEST_EMPTY"), u"");
    EXPECT_EQ(os::environmentVariable(u"VQLOAN_TEST_NONE"), std::nullopt);
    EXPECT_EQ(os::errorMessage(ERROR_FILE_NOT_FOUND), u"File not found.");
    EXPECT_EQ(text::toCodePage(u"\u00E0\u20AC\u4E2D\U0001F4D6x"), GetACP() == 1252 ? "\xE0\x80??x" : "");
}

// The stand-in's reading of a settings file and the system's own, key by key.
TEST(System, SettingsReadAsTheSystemReadsThem)
{
    const ScratchDirectory directory;
    const auto file = directory / "SvrDisp.ini";
    write(file,
          "; comment\r\n[SERVER]\r\nPLAIN=value\r\n blanks = in the middle \r\nQUOTED=\" a \"\r\n"
          "SINGLE=' b '\r\nHALF=\"x\r\nEMPTY=\r\n;HIDDEN=1\r\nSIGNS=a=b;c\r\nplain=second\r\nANSI=gi\xE0\r\n"
          "NOVALUE\r\n[OTHER]\r\nPLAIN=other\r\n[server]\r\nLATE=x\r\n");
    auto ini = createIniFile();
    ini->SetFile(file.u16string());
    for (const char16_t* section : {u"SERVER", u"server", u"OTHER", u"NONE"})
        for (const char16_t* key : {u"PLAIN", u"plain", u"BLANKS", u"QUOTED", u"SINGLE", u"HALF", u"EMPTY",
                                    u"HIDDEN", u"SIGNS", u"ANSI", u"NOVALUE", u"LATE", u"NONE"}) {
            wchar_t value[256];
            GetPrivateProfileStringW(toOle(section), toOle(key), L"default", value, 256, file.c_str());
            EXPECT_EQ(sysTools().ReadIni(Variant(section), Variant(key), Variant(u"default"), ini).toText(),
                      toText(value))
                << text::toUtf8(section) << " " << text::toUtf8(key);
        }
}

} // namespace
} // namespace vqloan::test
