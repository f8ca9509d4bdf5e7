// The automation face: what clients in any language rely on, whatever the operations behind it do.
#include <gtest/gtest.h>

#include <functional>
#include <span>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "Site.h"
#include "component/face/Dispatch.h"
#include "component/face/ErrorInfo.h"
#include "component/face/Members.h"

namespace vqloan::test {
namespace {

constexpr DISPID bibPosse = 0x40030002, dbType = 0x40030003, openDatabase = 0x60030005, shutDown = 0x60030007,
                 lastError = 0x6003000C, visNre = 0x60030012, testCodBib = 0x60030013, zObj = 0x68030000;

VARIANT of(VARTYPE type, void* value = nullptr)
{
    VARIANT variant;
    VariantInit(&variant);
    variant.vt = type;
    variant.byref = value;
    return variant;
}

class Face : public testing::Test
{
protected:
    const Component component;
    ComPtr<_DispSvr> object = component.create();
};

// A call by DISPID. Arguments stand in the order of a script, the named ones last.
struct ScriptCall
{
    DISPID id;
    WORD flags;
    std::vector<VARIANT> arguments{};
    std::vector<DISPID> names{}; // of the last arguments

    HRESULT on(IDispatch* object, Variant& result, EXCEPINFO* exception = nullptr, UINT* inError = nullptr)
    {
        result = Variant(); // a call writes over what it is given
        std::vector<VARIANT> reversed(arguments.rbegin(), arguments.rend());
        std::vector<DISPID> reversedNames(names.rbegin(), names.rend());
        DISPPARAMS given{reversed.data(), reversedNames.data(), static_cast<UINT>(reversed.size()),
                         static_cast<UINT>(names.size())};
        return object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &given, result.address(), exception,
                              inError);
    }
};

// --- Use ---

// A client in another language knows the numbers of the slots, not their names.
TEST_F(Face, SlotsAreWhereTheyArePublished)
{
    const auto slot = [&]<class Value>(int number, Value value) {
        void** const slots = *reinterpret_cast<void***>(object.get());
        return reinterpret_cast<HRESULT(STDMETHODCALLTYPE*)(void*, Value)>(slots[number])(object.get(),
                                                                                          value);
    };
    const Bstr given(std::u16string_view(u"a\0b", 3));
    Bstr taken;
    SHORT kind = 0;
    IDispatch* nothing = object.get();
    EXPECT_EQ(slot(8, given.get()), S_OK);
    EXPECT_EQ(slot(7, taken.address()), S_OK);
    EXPECT_EQ(taken.view(), given.view());
    EXPECT_EQ(slot(10, SHORT{7}), S_OK);
    EXPECT_EQ(slot(9, &kind), S_OK);
    EXPECT_EQ(kind, 7);
    EXPECT_EQ(slot(18, &nothing), S_OK);
    EXPECT_EQ(nothing, nullptr);
}

TEST_F(Face, EveryMemberWorksByNameInAnyCase)
{
    for (const Member& member : members) {
        std::vector<Bstr> names;
        names.emplace_back(text::upper(member.name));
        std::vector<DISPID> expected{member.id};
        ScriptCall call{member.id, static_cast<WORD>(member.kind)};
        Variant variable;
        for (const Parameter& parameter : std::span(member.parameterSlots).first(member.parameterCount())) {
            if (parameter.name.empty()) {
                call.names = {DISPID_PROPERTYPUT};
            } else {
                names.emplace_back(text::upper(parameter.name));
                expected.push_back(static_cast<DISPID>(call.arguments.size()));
            }
            call.arguments.push_back(parameter.type == VT_VARIANT
                                         ? of(VT_BYREF | VT_VARIANT, variable.address())
                                         : of(parameter.type));
        }
        const std::string shown = text::toUtf8(member.name);
        std::vector<LPOLESTR> pointers;
        for (const Bstr& name : names)
            pointers.push_back(name.get());
        std::vector<DISPID> ids(names.size());
        const auto count = static_cast<UINT>(names.size());
        EXPECT_EQ(object->GetIDsOfNames(IID_NULL, pointers.data(), count, 0, ids.data()), S_OK) << shown;
        EXPECT_EQ(ids, expected) << shown;
        Variant result;
        EXPECT_EQ(call.on(object.get(), result), S_OK) << shown;
        EXPECT_EQ(result.get().vt, member.result) << shown;
    }
}

// --- Wrong use ---

TEST_F(Face, WrongUseByNameGetsItsResult)
{
    constexpr WORD method = DISPATCH_METHOD, get = DISPATCH_PROPERTYGET, put = DISPATCH_PROPERTYPUT;
    constexpr UINT untouched = 99;
    Variant number(std::int32_t{70000}), text(u"x");
    const VARIANT missing = Variant::missing().get(), any = text.get();
    LONG longVariable = 1;
    struct Case
    {
        const char* name;
        ScriptCall call;
        HRESULT expected;
        UINT index = untouched;
    } cases[] = {
        {"as scripts call for a value", {testCodBib, method | get, {any}}, S_OK},
        {"no such member", {1, method}, DISP_E_MEMBERNOTFOUND},
        {"method as property", {shutDown, get}, DISP_E_MEMBERNOTFOUND},
        {"property as method", {bibPosse, method}, DISP_E_MEMBERNOTFOUND},
        {"object property by let", {zObj, put, {any}, {DISPID_PROPERTYPUT}}, DISP_E_MEMBERNOTFOUND},
        {"too many", {testCodBib, method, {any, any}}, DISP_E_BADPARAMCOUNT},
        {"too few", {testCodBib, method}, DISP_E_PARAMNOTOPTIONAL},
        {"left out, not optional", {visNre, method, {any, missing, any}}, DISP_E_PARAMNOTOPTIONAL, 1},
        {"put without a value", {dbType, put}, DISP_E_PARAMNOTOPTIONAL},
        {"put of an unnamed value", {dbType, put, {any}}, DISP_E_PARAMNOTFOUND},
        {"out of range", {dbType, put, {number.get()}, {DISPID_PROPERTYPUT}}, DISP_E_OVERFLOW, 0},
        {"null as text", {visNre, method, {of(VT_NULL), any, any}}, DISP_E_TYPEMISMATCH, 2},
        {"no type", {testCodBib, method, {of(0x0FFF)}}, DISP_E_BADVARTYPE, 0},
        {"no text", {testCodBib, method, {of(VT_BYREF | VT_I4, &longVariable)}}, DISP_E_TYPEMISMATCH, 0},
        {"no variable", {openDatabase, method, {of(VT_BYREF | VT_VARIANT)}}, DISP_E_TYPEMISMATCH, 0},
        {"unknown named", {lastError, method, {any}, {6}}, DISP_E_PARAMNOTFOUND, 0},
        {"named twice", {testCodBib, method, {any}, {DISPID_PROPERTYPUT}}, DISP_E_PARAMNOTFOUND, 0},
    };
    for (Case& wrong : cases) {
        Variant result;
        UINT index = untouched;
        EXPECT_EQ(wrong.call.on(object.get(), result, nullptr, &index), wrong.expected) << wrong.name;
        EXPECT_EQ(index, wrong.index) << wrong.name;
        EXPECT_EQ(wrong.call.on(object.get(), result), wrong.expected) << wrong.name << ", without an index";
    }
    DISPPARAMS none{}, noArray{nullptr, nullptr, 1, 0}, noNames{text.address(), nullptr, 1, 1};
    const auto invoke = [&](REFIID reserved, DISPPARAMS* given) {
        return object->Invoke(shutDown, reserved, 0, method, given, nullptr, nullptr, nullptr);
    };
    EXPECT_EQ(invoke(IID_IUnknown, &none), DISP_E_UNKNOWNINTERFACE);
    EXPECT_EQ(invoke(IID_NULL, &noArray), E_INVALIDARG);
    EXPECT_EQ(invoke(IID_NULL, &noNames), E_INVALIDARG);

    const Bstr known(u"VISNRE"), odd(u"Note"), parameter(u"BUF");
    LPOLESTR names[] = {known.get(), odd.get(), nullptr, parameter.get()};
    DISPID ids[4] = {};
    EXPECT_EQ(object->GetIDsOfNames(IID_NULL, names, 4, 0, ids), DISP_E_UNKNOWNNAME);
    EXPECT_EQ(std::vector(ids, ids + 4), (std::vector<DISPID>{visNre, DISPID_UNKNOWN, DISPID_UNKNOWN, 2}));
    EXPECT_EQ(object->GetIDsOfNames(IID_NULL, names + 1, 1, 0, ids), DISP_E_UNKNOWNNAME);
}

TEST_F(Face, NullPointersAreRefused)
{
    const auto o = object.get();
    Bstr text;
    const auto t = text.address();
    Variant kind(u"SQL");
    VARIANT_BOOL failed = 0;
    DISPID id = 0;
    LPOLESTR name = nullptr;
    // clang-format off
    const HRESULT results[] = {
        o->get_BibPosse(nullptr), o->get_DBType(nullptr), o->get_ZObj(nullptr),
        o->ErrNumber(nullptr), o->InitLoans(nullptr),
        o->OpenDatabase(nullptr, &failed), o->OpenDatabase(kind.address(), nullptr),
        o->VisNre(nullptr, t, nullptr, t), o->VisNre(t, nullptr, nullptr, t), o->VisNre(t, t, nullptr, nullptr),
        o->TestCodBib(nullptr, t), o->TestCodBib(t, nullptr),
        o->QueryInterface(IID_IUnknown, nullptr), o->GetTypeInfoCount(nullptr), o->GetTypeInfo(0, 0, nullptr),
        o->GetIDsOfNames(IID_NULL, nullptr, 1, 0, &id), o->GetIDsOfNames(IID_NULL, &name, 1, 0, nullptr),
        o->Invoke(shutDown, IID_NULL, 0, DISPATCH_METHOD, nullptr, nullptr, nullptr, nullptr),
        component.factory()->CreateInstance(nullptr, IID__DispSvr, nullptr),
        component.classObject(CLSID_DispSvr, IID_IClassFactory, nullptr)};
    // clang-format on
    for (std::size_t i = 0; i < std::size(results); ++i)
        EXPECT_EQ(results[i], E_POINTER) << "call " << i;
}

// --- By-reference arguments and failures, with a member that shows them ---

// VisNre appends to Handle and Bid; TestCodBib fails after it has changed its argument; AddRef does as told.
struct Fake : _DispSvr
{
    std::function<void()> onAddRef;

    static void append(BSTR* text, std::u16string_view more)
    {
        const std::u16string changed = std::u16string(viewOf(*text)).append(more);
        SysReAllocStringLen(text, toOle(changed.data()), static_cast<UINT>(changed.size()));
    }
    HRESULT STDMETHODCALLTYPE VisNre(BSTR* Handle, BSTR* Bid, BSTR Buf, BSTR*) override
    {
        append(Handle, u"+");
        append(Bid, viewOf(Buf));
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE TestCodBib(BSTR* CodBib, BSTR*) override
    {
        append(CodBib, u"!");
        RuntimeError failure(Failure::FileNotFound);
        failure.source = u"where";
        failure.helpFile = u"help.hlp";
        failure.helpContext = 12;
        return reportFailure(failure, IID__DispSvr);
    }
    ULONG STDMETHODCALLTYPE AddRef() override
    {
        onAddRef();
        return 2;
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* given, VARIANT* result,
                                     EXCEPINFO* exception, UINT* inError) override
    {
        return invokeMember(*this, id, flags, *given, result, exception, inError);
    }

    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    // clang-format off
#define NEVER_CALLED(member) HRESULT STDMETHODCALLTYPE member override { return E_NOTIMPL; }
    NEVER_CALLED(QueryInterface(REFIID, void**)) NEVER_CALLED(GetTypeInfoCount(UINT*))
    NEVER_CALLED(GetTypeInfo(UINT, LCID, ITypeInfo**))
    NEVER_CALLED(GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*))
    NEVER_CALLED(get_BibPosse(BSTR*)) NEVER_CALLED(put_BibPosse(BSTR)) NEVER_CALLED(get_DBType(SHORT*))
    NEVER_CALLED(put_DBType(SHORT)) NEVER_CALLED(OpenDatabase(VARIANT*, VARIANT_BOOL*))
    NEVER_CALLED(ShutDown()) NEVER_CALLED(ErrNumber(LONG*)) NEVER_CALLED(InitLoans(BSTR*))
    NEVER_CALLED(LastError(VARIANT*, VARIANT*, VARIANT*, VARIANT*, VARIANT*, VARIANT*))
    NEVER_CALLED(get_ZObj(IDispatch**)) NEVER_CALLED(putref_ZObj(IDispatch*)) NEVER_CALLED(Load_Messa())
#undef NEVER_CALLED
    // clang-format on
};

TEST_F(Face, VariablesAreWrittenBack)
{
    Fake fake;
    Variant result, byValue(u"h"), asVariable(u"h"), number(std::int32_t{5}), addition(u"-b"), nothing(u"");
    Bstr asText(u"h");
    VARIANT textInVariable = of(VT_BYREF | VT_BSTR, asText.address());
    const auto visit = [&](VARIANT handle, VARIANT bid, const Variant& buf) {
        // The last two by name, in the other order.
        return ScriptCall{visNre, DISPATCH_METHOD, {handle, buf.get(), bid}, {2, 1}}.on(&fake, result,
                                                                                        nullptr);
    };
    const VARIANT numberVariable = of(VT_BYREF | VT_VARIANT, number.address());
    EXPECT_EQ(visit(of(VT_BYREF | VT_BSTR, asText.address()), numberVariable, nothing), S_OK);
    EXPECT_EQ(asText.view(), u"h+");
    EXPECT_EQ(number.get().vt, VT_I4) << "left alone, it keeps its type";
    EXPECT_EQ(visit(of(VT_BYREF | VT_VARIANT, &textInVariable), numberVariable, addition), S_OK);
    EXPECT_EQ(asText.view(), u"h++");
    EXPECT_EQ(number.toText(), u"5-b");
    EXPECT_EQ(visit(of(VT_BYREF | VT_VARIANT, asVariable.address()), byValue.get(), addition), S_OK);
    EXPECT_EQ(asVariable.toText(), u"h+");
    EXPECT_EQ(byValue.toText(), u"h");
}

// What LastError leaves in a first argument, by slot and by name alike.
TEST_F(Face, FailureDetailsGoWhereAnArgumentRefersTo)
{
    constexpr VARTYPE reference = VT_BYREF | VT_VARIANT;
    VARIANT_BOOL failed = VARIANT_FALSE;
    Variant kind = Variant::null();
    for (const bool slot : {true, false}) {
        ASSERT_EQ(object->OpenDatabase(kind.address(), &failed), S_OK);
        const auto ask = [&](VARIANT first) {
            Variant result;
            return slot ? object->LastError(&first, nullptr, nullptr, nullptr, nullptr, nullptr)
                        : ScriptCall{lastError, DISPATCH_METHOD, {first}}.on(object.get(), result);
        };
        LONG number = 0;
        Variant variable(u"before"), leftOut = Variant::missing();
        VARIANT byNumber = of(VT_BYREF | VT_I4, &number), inner = of(reference, variable.address());
        VARIANT once = of(reference, &inner), twice = of(reference, &once);
        EXPECT_EQ(ask(of(reference, &byNumber)), S_OK);
        EXPECT_EQ(number, 94) << "through both references";
        EXPECT_EQ(ask(of(reference, &inner)), S_OK);
        EXPECT_EQ(variable.toText(), u"94");
        EXPECT_EQ(ask(of(reference, leftOut.address())), S_OK);
        EXPECT_TRUE(leftOut.isMissing());
        EXPECT_TRUE(FAILED(ask(of(reference, &twice)))) << "too many";
    }
    const Variant value(u"the caller's"); // who frees its text
    VARIANT given = value.get();
    DISPPARAMS parameters{&given, nullptr, 1, 0};
    object->Invoke(lastError, IID_NULL, 0, DISPATCH_METHOD, &parameters, nullptr, nullptr, nullptr);
    EXPECT_TRUE(given.vt == VT_BSTR && value.toText() == u"the caller's");
}

TEST_F(Face, FailuresReachScriptsWithTheirDetails)
{
    Fake fake;
    Variant result, code(u"A");
    EXCEPINFO exception{};
    exception.wCode = 1;
    ScriptCall test{testCodBib, DISPATCH_METHOD, {of(VT_BYREF | VT_VARIANT, code.address())}};
    EXPECT_EQ(test.on(&fake, result, &exception), DISP_E_EXCEPTION);
    EXPECT_EQ(std::tuple(exception.wCode, exception.scode, exception.dwHelpContext),
              std::tuple(0, static_cast<HRESULT>(0x800A0035), 12u));
    for (const auto& [text, expected] : {std::pair(exception.bstrSource, u"where"),
                                         {exception.bstrDescription, u"File not found"},
                                         {exception.bstrHelpFile, u"help.hlp"}}) {
        EXPECT_EQ(viewOf(text), expected);
        SysFreeString(text);
    }
    EXPECT_EQ(code.toText(), u"A!") << "written back all the same";

    EXPECT_EQ(test.on(&fake, result), DISP_E_EXCEPTION) << "with nowhere to tell";
    ComPtr<IErrorInfo> left;
    EXPECT_EQ(GetErrorInfo(0, left.address()), S_FALSE);
}

TEST_F(Face, FailureNumbersBecomeResults)
{
    for (const auto& [number, expected] : {std::pair(1, 0x800A0001),
                                           {65535, 0x800AFFFF},
                                           {-0x7FFBF1EC, 0x80040E14},
                                           {0, 0x800A0033},
                                           {65536, 0x800A0033}})
        EXPECT_EQ(reportFailure(RuntimeError(number, u"text"), IID__DispSvr), static_cast<HRESULT>(expected));
    LONG number = 0;
    ComPtr<IErrorInfo> earlier;
    EXPECT_EQ(object->ErrNumber(&number), S_OK);
    EXPECT_EQ(GetErrorInfo(0, earlier.address()), S_FALSE) << "gone with the next call";
}

// --- Lifetime ---

TEST_F(Face, InterfacesOfOneObjectShareItsIdentity)
{
    ComPtr<IUnknown> identity, other, again;
    ASSERT_EQ(object->QueryInterface(IID_IUnknown, identity.addressVoid()), S_OK);
    for (const IID& iid : {IID_IDispatch, IID__DispSvr, IID_IDispSvrSite, IID_ISupportErrorInfo}) {
        ASSERT_EQ(object->QueryInterface(iid, other.addressVoid()), S_OK);
        ASSERT_EQ(other->QueryInterface(IID_IUnknown, again.addressVoid()), S_OK);
        EXPECT_EQ(again.get(), identity.get());
    }
    EXPECT_EQ(static_cast<ISupportErrorInfo*>(other.get())->InterfaceSupportsErrorInfo(IID__DispSvr), S_OK);
    void* none = &none;
    EXPECT_EQ(object->QueryInterface(IID_IClassFactory, &none), E_NOINTERFACE);
    EXPECT_EQ(none, nullptr);
}

TEST_F(Face, OnlyAnUnusedComponentCanBeUnloaded)
{
    object.reset();
    auto factory = component.factory();
    EXPECT_EQ(component.canUnloadNow(), S_FALSE);
    EXPECT_EQ(factory->LockServer(TRUE), S_OK);
    factory.reset();
    EXPECT_EQ(component.canUnloadNow(), S_FALSE);
    factory = component.factory();
    EXPECT_EQ(factory->LockServer(FALSE), S_OK);
    EXPECT_EQ(factory->LockServer(FALSE), E_UNEXPECTED);
    factory.reset();
    EXPECT_EQ(component.canUnloadNow(), S_OK);
    object = component.create();
    EXPECT_EQ(component.canUnloadNow(), S_FALSE);

    void *outer = &outer, *iid = &iid, *clsid = &clsid;
    EXPECT_EQ(component.factory()->CreateInstance(object.get(), IID_IUnknown, &outer), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(component.factory()->CreateInstance(nullptr, IID_IClassFactory, &iid), E_NOINTERFACE);
    EXPECT_EQ(component.classObject(IID__DispSvr, IID_IClassFactory, &clsid), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_TRUE(!outer && !iid && !clsid);
    object.reset();
    EXPECT_EQ(component.canUnloadNow(), S_OK);
}

// Code that runs during a call (here: what counts a reference) may release the client's last reference.
TEST_F(Face, AnObjectOutlivesTheCallThatLosesItsLastReference)
{
    HRESULT canUnload = S_OK;
    Fake fake;
    fake.onAddRef = [&] {
        object.reset();
        canUnload = component.canUnloadNow();
    };
    Variant result;
    ScriptCall byName{zObj, DISPATCH_PROPERTYPUTREF, {of(VT_DISPATCH, &fake)}, {DISPID_PROPERTYPUT}};
    for (const bool slot : {true, false}) {
        object = component.create();
        _DispSvr* const called = object.get();
        EXPECT_EQ(slot ? called->putref_ZObj(&fake) : byName.on(called, result), S_OK);
        EXPECT_EQ(canUnload, S_FALSE) << "alive within the call";
        EXPECT_EQ(component.canUnloadNow(), S_OK) << "gone after it";
    }
}

// --- Threads ---

TEST_F(Face, ThreadsKeepSeparateFailureRecords)
{
    Client desk(object);
    EXPECT_TRUE(desk.open(Variant::null()));
    std::thread([&] { EXPECT_EQ(Client(component.create()).failure().number, 0); }).join();
    EXPECT_EQ(desk.failure().number, 94);
}

} // namespace
} // namespace vqloan::test
