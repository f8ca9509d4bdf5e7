// The component as the system's clients find it: registered, by its name, with its type library.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <sstream>
#include <thread>

#include "../Network.h"
#include "Registered.h"
#include "component/face/Members.h"

namespace vqloan::test {
namespace {

TEST_F(Registered, ClientsFindItByItsName)
{
    write(site / "CLIENT.PAR", "XX=Non collegata\r\ncodbib=00,XX,Centrale\r\n");
    write(site / "SvrDisp.ini",
          "[CONFIG]\nPATH=" + directory.path().string() + "\n[CLIENT]\nTIMEOUT=0\n" + messages);
    EXPECT_EQ(runScript().first, "_DispSvr 0 [] 0\n"
                                 "7000 False 0  \nCentrale|Disponibilita' non verificabile|Non collegata|/\n"
                                 "SQL False 0  \nInv. 1|01|Inv. 1Nessuna risposta ||/\n"
                                 "2 xy True\n"
                                 " True 94 VQLoan.SvrODBC.OpenDatabase, 0 Invalid use of Null\n"
                                 "438\n");
}

// The class object is asked for on each thread, and so are the thread's helpers: what fails on one is not
// told on the other. An object of one apartment is reached from another through the marshaler that its
// registered type library describes it to.
TEST_F(Registered, EachApartmentHasItsOwn)
{
    Client desk(createByName());
    EXPECT_TRUE(desk.open("7000")) << "no CLIENT.PAR";
    EXPECT_EQ(desk.failure().number, 53);

    IStream* stream = nullptr;
    ASSERT_EQ(CoMarshalInterThreadInterfaceInStream(IID__DispSvr, desk.object.get(), &stream), S_OK);
    std::atomic<bool> done = false;
    std::thread other([&] {
        CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
        {
            EXPECT_EQ(Client(createByName()).failure().number, 0) << "its own record";
            ComPtr<_DispSvr> proxy;
            EXPECT_EQ(CoGetInterfaceAndReleaseStream(stream, IID__DispSvr, proxy.addressVoid()), S_OK);
            if (proxy) {
                EXPECT_NE(proxy.get(), desk.object.get()) << "not called on the wrong thread";
                LONG number = 0;
                EXPECT_EQ(proxy->ErrNumber(&number), S_OK);
                EXPECT_EQ(number, 53) << "the record of the object's thread";
                EXPECT_EQ(proxy->put_BibPosse(Bstr(u"zz").get()), S_OK);
            }
        }
        CoUninitialize();
        done = true;
    });
    while (!done) {
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
            DispatchMessageW(&message);
        Sleep(1);
    }
    other.join();
    EXPECT_EQ(desk.ownLibrary(), "zz");
}

// The second time is the fixture's.
TEST_F(Registered, CanBeTakenBackTwice)
{
    EXPECT_EQ(run(L"regsvr32 /u /s \"" + component.wstring() + L"\"").second, 0);
}

// A member as both sides tell it: identifier, kind of call, slot, name, and each parameter's flags and type,
// the result's last. A by-reference type is written as the pointer to it.
std::string signatureOf(const Member& member, std::size_t index)
{
    std::ostringstream told;
    told << member.id << ' ' << static_cast<int>(member.kind) << ' ' << (firstSlot + index) * sizeof(void*)
         << ' ' << text::toUtf8(member.name);
    for (std::size_t i = 0; i < member.parameterCount(); ++i) {
        const Parameter& parameter = member.parameterSlots[i];
        const bool byReference = parameter.passing != Passing::in;
        told << ", " << text::toUtf8(parameter.name) << ' '
             << (PARAMFLAG_FIN | (byReference ? PARAMFLAG_FOUT : 0) |
                 (parameter.passing == Passing::optionalInOut ? PARAMFLAG_FOPT : 0))
             << ' ' << (byReference ? VT_BYREF | parameter.type : parameter.type);
    }
    if (member.result != VT_EMPTY)
        told << ",  " << (PARAMFLAG_FOUT | PARAMFLAG_FRETVAL) << ' ' << (VT_BYREF | member.result);
    return told.str();
}

std::string signatureOf(const FUNCDESC& function, const BSTR* names)
{
    std::ostringstream told;
    told << function.memid << ' ' << function.invkind << ' ' << function.oVft << ' '
         << text::toUtf8(viewOf(names[0]));
    for (SHORT i = 0; i < function.cParams; ++i) {
        const ELEMDESC& parameter = function.lprgelemdescParam[i];
        const USHORT flags = parameter.paramdesc.wParamFlags;
        const bool isPointer = parameter.tdesc.vt == VT_PTR;
        told << ", "
             << (flags & PARAMFLAG_FRETVAL || function.invkind > INVOKE_PROPERTYGET
                     ? ""
                     : text::toUtf8(viewOf(names[i + 1])))
             << ' ' << flags << ' '
             << (isPointer ? VT_BYREF | parameter.tdesc.lptdesc->vt : parameter.tdesc.vt);
    }
    return told.str();
}

// Member by member what the object's own table of members says.
TEST_F(Registered, TheTypeLibrarySaysWhatTheObjectDoes)
{
    ComPtr<ITypeLib> library;
    ASSERT_EQ(LoadRegTypeLib(LIBID_VQLoan, 4, 0, 0x0409, library.address()), S_OK);
    Bstr name, help;
    ASSERT_EQ(library->GetDocumentation(-1, name.address(), help.address(), nullptr, nullptr), S_OK);
    EXPECT_EQ(name.view(), u"VQLoan");
    EXPECT_EQ(help.view(), u"Server Disponibilità");
    TLIBATTR* attributes = nullptr;
    ASSERT_EQ(library->GetLibAttr(&attributes), S_OK);
    EXPECT_EQ(attributes->guid, LIBID_VQLoan);
    EXPECT_EQ(std::pair(attributes->wMajorVerNum, attributes->wMinorVerNum), std::pair(WORD{4}, WORD{0}));
    EXPECT_EQ(attributes->lcid, 0x0409u);
    EXPECT_EQ(attributes->syskind, sizeof(void*) == 8 ? SYS_WIN64 : SYS_WIN32);
    library->ReleaseTLibAttr(attributes);
    EXPECT_EQ(library->GetTypeInfoCount(), 2u);

    ComPtr<ITypeInfo> coclass;
    ASSERT_EQ(library->GetTypeInfoOfGuid(CLSID_DispSvr, coclass.address()), S_OK);
    TYPEATTR* type = nullptr;
    ASSERT_EQ(coclass->GetTypeAttr(&type), S_OK);
    EXPECT_EQ(type->typekind, TKIND_COCLASS);
    EXPECT_EQ(type->wTypeFlags, TYPEFLAG_FCANCREATE);
    EXPECT_EQ(type->cImplTypes, 1);
    coclass->ReleaseTypeAttr(type);

    // A dual interface shows its dispatch side first.
    ComPtr<ITypeInfo> dispatch, described;
    ASSERT_EQ(library->GetTypeInfoOfGuid(IID__DispSvr, dispatch.address()), S_OK);
    HREFTYPE reference = 0;
    ASSERT_EQ(dispatch->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference), S_OK);
    ASSERT_EQ(dispatch->GetRefTypeInfo(reference, described.address()), S_OK);
    ASSERT_EQ(described->GetTypeAttr(&type), S_OK);
    EXPECT_EQ(type->typekind, TKIND_INTERFACE);
    EXPECT_EQ(type->wTypeFlags, TYPEFLAG_FHIDDEN | TYPEFLAG_FDUAL | TYPEFLAG_FNONEXTENSIBLE |
                                    TYPEFLAG_FOLEAUTOMATION | TYPEFLAG_FDISPATCHABLE);
    ASSERT_EQ(type->cFuncs, members.size());
    described->ReleaseTypeAttr(type);

    for (std::size_t i = 0; i < members.size(); ++i) {
        FUNCDESC* function = nullptr;
        ASSERT_EQ(described->GetFuncDesc(static_cast<UINT>(i), &function), S_OK);
        BSTR names[maxParameters + 2] = {};
        UINT count = 0;
        described->GetNames(function->memid, names, static_cast<UINT>(std::size(names)), &count);
        EXPECT_EQ(signatureOf(*function, names), signatureOf(members[i], i));
        EXPECT_EQ(function->elemdescFunc.tdesc.vt, VT_HRESULT) << i;
        std::ranges::for_each(names, SysFreeString);
        described->ReleaseFuncDesc(function);
    }

    ComPtr<ITypeInfo> info;
    ASSERT_EQ(createByName()->GetTypeInfo(0, 0, info.address()), S_OK);
    ASSERT_EQ(info->GetTypeAttr(&type), S_OK);
    EXPECT_EQ(type->guid, IID__DispSvr);
    EXPECT_EQ(type->typekind, TKIND_DISPATCH);
    info->ReleaseTypeAttr(type);
}

// Words, files and answers in characters that no one code page has; the answer as it is, and no copy of
// anything.
TEST(CommandLine, AsksASite)
{
    const ScratchDirectory directory;
    const auto site = directory.path() / L"Citt\u00E0 \u20AC", requests = site / L"\u0141\u00F3d\u017A.txt",
               temporary = directory.path() / "temporary";
    create_directory(site);
    create_directory(temporary);
    std::string parameters = "CLIENT=7";
    for (int line = 2; line < 14; ++line)
        parameters += "\r\n" + std::to_string(line) + "=";
    write(site / "CLIENT.PAR", parameters + "\r\nNC=Non collegata\r\ncodbib=07,NC,Archivio\r\n");
    write(requests, "07\t\t1\r\n");
    SetEnvironmentVariableW(L"TMP", temporary.c_str());

    const auto program =
        std::filesystem::absolute(COMPONENT_FILE).replace_filename("vqloan.exe").make_preferred();
    const std::wstring ask =
        L"\"\"" + program.wstring() + L"\" ask --kind 7000 --site \"" + site.wstring() + L"\" --format ";
    EXPECT_EQ(run(ask + L"raw \"" + requests.wstring() + L"\"\"", L"rb"),
              std::pair(wire("Archivio|Disponibilità non verificabile|Non collegata|\n"), 0));
    const std::string typed = run(ask + L"json --library 07 --note \"\u0141\u00F3d\u017A \u20AC\"\"").first;
    EXPECT_NE(typed.find("\"note\":\"Łódź €\""), typed.npos) << typed;
    EXPECT_TRUE(is_empty(temporary));
    SetEnvironmentVariableW(L"TMP", nullptr);
}

// A program that has the component described in a manifest needs no registration.
TEST(Manifest, ServesInTheRegistrysPlace)
{
    const ScratchDirectory directory;
    std::filesystem::copy_file(COMPONENT_FILE, directory / componentName);
    std::filesystem::copy_file(std::filesystem::path(COMPONENT_FILE).replace_filename("VQLoan.manifest"),
                               directory / "VQLoan.manifest");
    CLSID clsid{};
    EXPECT_NE(CLSIDFromProgID(L"VQLoan.DispSvr", &clsid), S_OK) << "not registered";

    const std::wstring file = (directory / "VQLoan.manifest").wstring();
    ACTCTXW described{};
    described.cbSize = sizeof described;
    described.lpSource = file.c_str();
    const HANDLE context = CreateActCtxW(&described);
    ASSERT_NE(context, INVALID_HANDLE_VALUE) << GetLastError();
    ULONG_PTR cookie = 0;
    ASSERT_TRUE(ActivateActCtx(context, &cookie));
    EXPECT_EQ(Client(createByName()).kind(), 0);
    DeactivateActCtx(0, cookie);
    ReleaseActCtx(context);
    CoFreeUnusedLibraries();
}

} // namespace
} // namespace vqloan::test
