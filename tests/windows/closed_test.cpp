// The closed components, where they are registered: here their counterparts, which write down how they are
// called.
#include <gtest/gtest.h>

#include <thread>

#include "Adodb.h"
#include "Site.h"
#include "platform/components/Origins.h"
#include "platform/runtime/windows/LateBound.h"

namespace vqloan::test {
namespace {

constexpr CLSID sysToolsClass{0xEA62484D, 0x43DF, 0x11D2, {0xB9, 0x56, 0x00, 0xA0, 0x24, 0xED, 0x9C, 0x9B}};
constexpr CLSID iniFileClass{0xEA624849, 0x43DF, 0x11D2, {0xB9, 0x56, 0x00, 0xA0, 0x24, 0xED, 0x9C, 0x9B}};
constexpr CLSID dbToolsClass{0xD9C28A58, 0xB819, 0x4EDB, {0x84, 0x0D, 0xC9, 0x22, 0x20, 0x00, 0xDD, 0x43}};

void replace(const VARIANT* argument, const std::u16string& text)
{
    SysReAllocStringLen(argument->pbstrVal, toOle(text.data()), static_cast<UINT>(text.size()));
}

Scripted::Members sysTools()
{
    return {
        {L"DirSlash", [](auto& a) { return Variant(Variant::copyOf(*a.at(0)).toText() + u"\\"); }},
        {L"ReadIni",
         [](auto& a) {
             return textOf(a.at(1)) == "USERNAME" ? Variant(u"§USER§") : Variant::copyOf(*a.at(2));
         }},
        {L"StripChar", doing([](auto& a) { replace(a.at(0), u"USER"); })},
        {L"ResolvePlaceholder",
         [](auto& a) {
             replace(a.at(0), u"desk");
             return Variant(std::int16_t{0});
         }},
        {L"FileExists", [](auto&) { return Variant(std::int16_t{0}); }},
        {L"TickCount", [](auto&) { return Variant(std::int32_t{2147483000}); }},
        {L"StoreError", doing([](auto&) {})},
        {L"GetError", doing([](auto& a) {
             Variant::assign(*a.at(0), Variant(std::int32_t{77}));
             if (!Variant::isMissing(*a.at(2)))
                 Variant::assign(*a.at(2), Variant(u"perché"));
         })},
        {L"ErrorText", [](auto&) { return Variant(u"perché"); }},
        {L"AfterError", doing([](auto&) { throw RuntimeError(1234, u"told", u"SysTools"); })},
    };
}

Scripted::Members dbTools()
{
    const auto release = doing([](auto& a) {
        if (IDispatch* held = std::exchange(*a.at(0)->ppdispVal, nullptr))
            held->Release();
    });
    const auto value = [](auto& a) {
        Variant held = LateBound(ComPtr<IDispatch>(*a.at(0)->ppdispVal)).get(L"Value");
        return held.get().vt == VT_NULL ? Variant(u"") : held;
    };
    return {{L"FieldValue", value}, {L"CloseRecordset", release}, {L"CloseConn", release}};
}

// Runs the body on a thread of its own, whose helper objects are the closed ones.
template <class Body> void whereRegistered(std::string& journal, Body body)
{
    std::thread([&] {
        CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
        {
            const auto made = [&journal](Scripted::Members members) {
                return [&journal, members] { return Scripted::object(noting(journal, "", members)); };
            };
            const Adodb ado;
            const ClassObject tools(sysToolsClass, made(sysTools())),
                iniFile(iniFileClass, made({{L"SetFile", doing([](auto&) {})}})),
                database(dbToolsClass, made(dbTools()));
            body();
        }
        CoUninitialize();
    }).join();
}

std::string origins()
{
    std::string all;
    for (const Origin& origin : componentOrigins())
        all += text::toUtf8(origin.component) + (origin.isRegistered ? " registered " : " built in ") +
               text::toUtf8(origin.failure) + "|";
    return all;
}

TEST(Closed, WhichComponentsAreUsedIsKnown)
{
    EXPECT_EQ(origins(), "SysTools built in |IniFile built in |DbTools built in |");
    const ClassObject broken(dbToolsClass, [] { return ComPtr<IDispatch>(); });
    EXPECT_EQ(origins(), "SysTools built in |IniFile built in |"
                         "DbTools registered ActiveX component can't create object|");
}

TEST(Closed, ComponentsAreCalledByNameWhereTheyAreRegistered)
{
    std::string journal;
    const auto calls = [&] { return std::exchange(journal, std::string()); };
    Site site;
    whereRegistered(journal, [&] {
        EXPECT_EQ(origins(), "SysTools registered |IniFile registered |DbTools registered |");
        const std::string directory = site.directory.path().string();
        Client desk = site.client();
        EXPECT_FALSE(desk.open("SQL"));
        EXPECT_EQ(calls(), "DirSlash &\"" + directory + "\"\nSetFile \"" + directory +
                               "\\SvrDisp.ini\"\n"
                               "ReadIni \"MESSAGGI\", \"NUMMSG\", 1, &object\n"
                               "ReadIni \"MESSAGGI\", \"1\", \"\", &object\n"
                               "ReadIni \"CONFIG\", \"PATH\", \"\", &object\n"
                               "ReadIni \"CLIENT\", \"ID\", 0, &object\n"
                               "ReadIni \"CLIENT\", \"TIMEOUT\", 5, &object\n");

        EXPECT_FALSE(desk.open("SQL2"));
        const std::string opening = calls();
        EXPECT_NE(opening.find("StripChar &\"USER§\", &\"§\"\nResolvePlaceholder &\"USER\"\n"),
                  std::string::npos)
            << opening;
        EXPECT_NE(opening.find("FieldValue &object, &0\nFieldValue &object, &0\n"), std::string::npos)
            << opening;
        EXPECT_TRUE(opening.ends_with("CloseRecordset &object\n")) << opening;

        EXPECT_EQ(desk.ask("01||00FREE"), "Inv. 00FREE|Civica|Inv. 00FREE||29-02-2024|||\n");
        desk.object->ShutDown();
        EXPECT_TRUE(calls().ends_with("CloseConn &object\n"));
        EXPECT_EQ(desk.ask("01||00FREE"), "Inv. 00FREE|01|Inv. 00FREE||\n") << "the reference is gone";
        desk.object->ShutDown();
        EXPECT_EQ(calls(), "CloseConn &nothing\n");

        EXPECT_TRUE(desk.open(Variant::null()));
        EXPECT_EQ(calls(), "StoreError &94, &\"VQLoan.SvrODBC.OpenDatabase, 0\", &\"Invalid use of "
                           "Null\", &\"\", &\"0\", &0, "
                           "&0, missing, &0\n");
        LONG number = 0;
        EXPECT_EQ(desk.object->ErrNumber(&number), S_OK);
        EXPECT_EQ(number, 77);
        EXPECT_EQ(calls(), "GetError &0, missing, missing, missing, missing, missing\n");
        EXPECT_EQ(desk.failure().description, "perché");
        EXPECT_THROW(desk.raw(std::string(40000, 'x')), std::runtime_error)
            << "what AfterError raises comes out";
    });
}

} // namespace
} // namespace vqloan::test
