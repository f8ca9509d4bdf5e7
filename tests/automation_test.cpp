// The automation functions as clients in other languages use them, and the owners on top of them.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include <dlfcn.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "ScratchDirectory.h"
#include "component/face/DispSvrInterface.h"
#include "platform/runtime/Bstr.h"
#include "platform/runtime/ComPtr.h"
#include "platform/runtime/RuntimeError.h"
#include "platform/runtime/Text.h"
#include "platform/runtime/Variant.h"

// The system's newlocale never frees its copy of LOCPATH, which users do not set.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions()
{
    return "leak:argz_add_sep\n";
}

namespace vqloan::test {
namespace {

namespace fs = std::filesystem;

class ScopedVariable
{
public:
    ScopedVariable(const char* name, const std::string& value) : name_(name)
    {
        if (const char* before = std::getenv(name))
            before_ = before;
        setenv(name, value.c_str(), 1);
    }
    ~ScopedVariable() { before_ ? setenv(name_, before_->c_str(), 1) : unsetenv(name_); }

private:
    const char* name_;
    std::optional<std::string> before_;
};

// An object that knows how often it is referred to, with a default property.
class Counted final : public IDispatch
{
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override
    {
        *object = iid == IID_IUnknown || iid == IID_IDispatch ? this : nullptr;
        return *object ? (AddRef(), S_OK) : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
    ULONG STDMETHODCALLTYPE Release() override { return --references; }
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID member, REFIID, LCID, WORD, DISPPARAMS*, VARIANT* result,
                                     EXCEPINFO*, UINT*) override
    {
        if (member != DISPID_VALUE)
            return DISP_E_MEMBERNOTFOUND;
        *result = Variant(u"42").release();
        return S_OK;
    }
    ULONG references = 1;
};

template <class Value> VARIANT variantOf(VARTYPE type, Value value)
{
    VARIANT result{};
    result.vt = type;
    std::memcpy(&result.llVal, &value, sizeof value);
    return result;
}

// The result of a conversion as text, so that tables can be read: real numbers with a point, dates day
// first.
std::string converted(const VARIANT& source, VARTYPE type)
{
    static const std::map<HRESULT, const char*> failures{
        {DISP_E_TYPEMISMATCH, "mismatch"}, {DISP_E_OVERFLOW, "overflow"}, {DISP_E_BADVARTYPE, "bad type"}};
    Variant result, shown;
    if (const HRESULT outcome = VariantChangeType(result.address(), &source, VARIANT_ALPHABOOL, type))
        return failures.at(outcome);
    EXPECT_EQ(result.get().vt, type);
    const ScopedVariable locale("LC_ALL", "C");
    if (FAILED(VariantChangeType(shown.address(), &result.get(), VARIANT_ALPHABOOL, VT_BSTR)))
        return "no text";
    return text::toUtf8(shown.toText());
}

// What texts give as values of that type.
void convert(VARTYPE type, const std::vector<std::pair<const char16_t*, const char*>>& cases)
{
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(converted(Variant(text).get(), type), expected)
            << text::toUtf8(text) << " as type " << type;
}

void checkAll(const char* expected, VARTYPE type, const std::vector<const char16_t*>& texts)
{
    for (const char16_t* text : texts)
        convert(type, {{text, expected}});
}

TEST(Automation, KeepsLengthAndZerosOfTexts)
{
    EXPECT_EQ(SysStringLen(nullptr), 0u);
    EXPECT_EQ(SysAllocString(nullptr), nullptr);
    for (const UINT length : {0xFFFFFFFFu, 0x80000000u, 0x7FFFFFFFu})
        EXPECT_EQ(SysAllocStringLen(nullptr, length), nullptr) << length;

    const Bstr text(std::u16string_view(u"a\0b", 3));
    EXPECT_EQ(SysStringByteLen(text.get()), 6u);
    EXPECT_EQ(text.get()[3], u'\0');
    VARIANT odd = variantOf(VT_BSTR, SysAllocStringByteLen("abc", 3));
    EXPECT_EQ(SysStringByteLen(Variant::copyOf(odd).get().bstrVal), 3u);
    VariantClear(&odd);

    BSTR changing = SysAllocString(u"shelf mark");
    EXPECT_TRUE(SysReAllocStringLen(&changing, changing + 6, 4)); // from the text that it replaces
    EXPECT_EQ(viewOf(changing), u"mark");
    EXPECT_TRUE(SysReAllocStringLen(&changing, nullptr, 2));
    EXPECT_EQ(viewOf(changing), u"ma");
    EXPECT_FALSE(SysReAllocStringLen(&changing, nullptr, 0xFFFFFFFFu));
    EXPECT_EQ(viewOf(changing), u"ma");
    EXPECT_TRUE(SysReAllocString(&changing, nullptr));
    EXPECT_EQ(changing, nullptr);
    EXPECT_FALSE(SysReAllocString(nullptr, u""));
}

TEST(Automation, CountsReferencesOfVariants)
{
    Counted object;
    VARIANT first = variantOf(VT_DISPATCH, static_cast<IDispatch*>(&object));
    object.AddRef();
    Variant second;
    EXPECT_EQ(VariantCopy(second.address(), &first), S_OK);
    EXPECT_EQ(object.references, 3u);
    EXPECT_EQ(converted(first, VT_I4), "42");
    EXPECT_EQ(VariantChangeType(second.address(), second.address(), 0, VT_UNKNOWN), S_OK);
    EXPECT_EQ(object.references, 3u);
    EXPECT_EQ(VariantChangeType(second.address(), &first, VARIANT_NOVALUEPROP, VT_I4), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(VariantClear(&first), S_OK);
    second = Variant();
    EXPECT_EQ(object.references, 1u);
    EXPECT_EQ(converted(variantOf(VT_DISPATCH, static_cast<IDispatch*>(nullptr)), VT_BSTR), "mismatch");
}

TEST(Automation, FollowsReferences)
{
    Bstr text(u"12");
    VARIANT byText = variantOf(VT_BYREF | VT_BSTR, text.address());
    VARIANT byVariant = variantOf(VT_BYREF | VT_VARIANT, &byText);
    VARIANT twice = variantOf(VT_BYREF | VT_VARIANT, &byVariant);

    EXPECT_EQ(Variant::copyOf(byVariant).toText(), u"12");
    EXPECT_EQ(converted(byVariant, VT_I2), "12");
    Variant target;
    EXPECT_EQ(VariantCopyInd(target.address(), &twice), E_INVALIDARG);
    EXPECT_EQ(VariantCopyInd(&byVariant, &byVariant), S_OK); // in place
    EXPECT_EQ(viewOf(byVariant.bstrVal), u"12");
    EXPECT_NE(byVariant.bstrVal, text.get());
    VariantClear(&byVariant);
    VariantClear(&byText); // frees nothing
}

TEST(Automation, RefusesWrongUse)
{
    Variant target;
    VARIANT number = variantOf(VT_I4, 1), array = variantOf<void*>(0x2000 | VT_I4, nullptr);
    VARIANT nowhere = variantOf<void*>(VT_BYREF | VT_I4, nullptr);
    CLSID clsid;
    void* object = &target;
    const std::tuple<const char*, HRESULT, HRESULT> cases[] = {
        {"copy to null", VariantCopyInd(nullptr, &number), E_INVALIDARG},
        {"reference to nothing", VariantCopyInd(target.address(), &nowhere), E_INVALIDARG},
        {"clear array", VariantClear(&array), DISP_E_BADVARTYPE},
        {"copy array", VariantCopy(target.address(), &array), DISP_E_BADVARTYPE},
        {"copy onto array", VariantCopy(&array, &number), DISP_E_BADVARTYPE},
        {"change to reference", VariantChangeType(&number, &number, 0, VT_BYREF | VT_I4), DISP_E_BADVARTYPE},
        {"change array", VariantChangeType(target.address(), &array, 0, VT_BSTR), DISP_E_BADVARTYPE},
        {"identifier to null", CLSIDFromString(u"{", nullptr), E_INVALIDARG},
        {"no programmatic identifier", CLSIDFromProgID(nullptr, &clsid), E_INVALIDARG},
        {"not a GUID", CLSIDFromString(u"{00000000-0000-0000-C000-00000000004G}", &clsid), CO_E_CLASSSTRING},
        {"object to null", CoCreateInstance(IID_NULL, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, nullptr),
         E_POINTER},
        {"in another process", CoGetClassObject(IID_NULL, 4, nullptr, IID_IUnknown, &object),
         REGDB_E_CLASSNOTREG},
        {"no file of a class", AutomationRegisterClass(IID_NULL, u"A.B", nullptr), E_INVALIDARG},
        {"two lines of registry", AutomationRegisterClass(IID_NULL, u"A.B", "/a\nb"), E_INVALIDARG},
    };
    for (const auto& [name, result, expected] : cases)
        EXPECT_EQ(result, expected) << name;
    EXPECT_EQ(object, nullptr);
    EXPECT_TRUE(target.isEmpty());
}

TEST(Automation, ConvertsTextToNumbers)
{
    const ScopedVariable locale("LC_ALL", "C");
    convert(VT_I4, {{u" 2.5 ", "2"}, {u"5-", "-5"}, {u"- 5", "-5"}, {u"&hffff", "65535"}});
    convert(VT_I2, {{u"3.5", "4"}, {u"( 7 )", "-7"}, {u"1E+3", "1000"}, {u"&HFFFF", "-1"}});
    convert(VT_UI1, {{u"&O17", "15"}, {u"256", "overflow"}, {u"-1", "overflow"}});
    convert(VT_R8, {{u"+1,234,567.5", "1234567.5"}, {u"12E-1", "1.2"}, {u"&HFFFF", "65535"}});
    convert(VT_R4, {{u".5", "0.5"}, {u"1E39", "overflow"}});
    convert(VT_CY, {{u"12.5", "12.5"}, {u"1E15", "overflow"}, {u"&HFFFF", "65535"}});
    convert(VT_CY, {{u"-922337203685477.5808", "-922337203685477.5808"}, {u"0.00025", "0.0002"}});
    convert(VT_BOOL, {{u"TRUE", "True"}, {u"#false#", "False"}, {u"0.1", "True"}, {u"yes", "mismatch"}});
    // At the ends of what a type holds every digit counts, however many there are.
    checkAll("overflow", VT_I2, {u"32767.5", u"-32769", u"&H10000"});
    convert(VT_I4, {{u"-2.5000000000000000000001", "-3"}, {u"0E999999999999999999999", "0"}});
    convert(VT_I8, {{u"9223372036854775807", "9223372036854775807"},
                    {u"9223372036854775808", "overflow"},
                    {u"-9223372036854775808", "-9223372036854775808"}});
    convert(VT_UI8,
            {{u"18446744073709551615", "18446744073709551615"}, {u"18446744073709551615.5", "overflow"}});
    convert(VT_R8, {{u"1E-999999999999999999999", "0"}, {u"1E999999999999999999999", "overflow"}});
    checkAll("mismatch", VT_I4,
             {u"", u" - ", u"-5-", u"(5", u"()", u"1.2.3", u"1.2,3", u",1", u"1E", u"1 2", u"&H", u"&H-1",
              u"&O8", u"\uFF11"});
}

TEST(Automation, ConvertsTextToDates)
{
    const ScopedVariable locale("LC_ALL", "POSIX");
    convert(VT_DATE, {{u"2024-02-29", "29/02/2024"}, {u"2024-02-29 10:30", "29/02/2024 10:30:00"}});
    convert(VT_DATE, {{u" 2024-02-29T23:59:59.4Z ", "29/02/2024 23:59:59"}});
    convert(VT_DATE, {{u"2024-02-29 23:59:59.6", "01/03/2024"}, {u"2958466", "overflow"}});
    convert(VT_DATE,
            {{u"1/2/2024 ", "01/02/2024"}, {u"13.2.2024", "13/02/2024"}, {u"2/13/2024", "13/02/2024"}});
    convert(VT_DATE, {{u"1-2-29", "01/02/2029"}, {u"1-2-30", "01/02/1930"}, {u"1.5", "31/12/1899 12:00:00"}});
    convert(VT_DATE, {{u"10:30 PM", "22:30:00"}, {u"12:00 am", "00:00:00"}});
    checkAll("mismatch", VT_R8, {u"1899-12-29 06:00"});
    checkAll("mismatch", VT_DATE,
             {u"2023-02-29", u"2024-13-13", u"1/2-2024", u"24:00", u"13:00 PM", u"1/2/2024 x", u"2024-02-29T",
              u"0099-01-01"});
    // Before day 0 the time of day still counts forward.
    EXPECT_EQ(Variant(u"1899-12-29 06:00").toDate(), -1.25);
    EXPECT_EQ(Variant(u"1/2/2024").toDate(), 45323) << "not the second of January";
    EXPECT_EQ(converted(Variant::fromDate(-1.25).get(), VT_BSTR), "29/12/1899 06:00:00");
}

TEST(Automation, ConvertsBetweenOtherTypes)
{
    const ScopedVariable locale("LC_ALL", "C");
    const auto real = [](double value) { return variantOf(VT_R8, value); };
    const auto money = [](long long tenThousandths) { return variantOf(VT_CY, tenThousandths); };
    const VARIANT nothing = variantOf(VT_EMPTY, 0), null = variantOf(VT_NULL, 0);
    const VARIANT truth = variantOf(VT_BOOL, VARIANT_TRUE), one = variantOf(VT_I4, 1);
    // clang-format off
    const std::tuple<VARIANT, VARTYPE, const char*> cases[] = {
        {nothing, VT_BSTR, ""}, {nothing, VT_I4, "0"}, {null, VT_BSTR, "mismatch"},
        {variantOf(VT_ERROR, DISP_E_PARAMNOTFOUND), VT_I4, "mismatch"},
        {truth, VT_BSTR, "True"}, {truth, VT_I4, "-1"}, {truth, VT_UI1, "255"}, {truth, VT_CY, "-1"},
        {real(0.1 + 0.2), VT_BSTR, "0.3"}, {real(1e20), VT_BSTR, "1E+20"}, {real(-0.00001), VT_BSTR, "-1E-05"},
        {real(999999999999999.0), VT_BSTR, "999999999999999"}, {real(-0.0), VT_BSTR, "0"},
        {real(-2.5), VT_I4, "-2"}, {real(-1.5), VT_I4, "-2"}, {real(std::nan("")), VT_I4, "overflow"},
        {real(9223372036854775808.0), VT_I8, "overflow"}, {real(-32768.5), VT_I2, "-32768"},
        {real(1e300), VT_R4, "overflow"}, {real(-1.5), VT_CY, "-1.5"}, {variantOf(VT_R4, 0.1f), VT_BSTR, "0.1"},
        {variantOf(VT_I4, -1), VT_UI8, "overflow"}, {variantOf<signed char>(VT_I1, -1), VT_I2, "-1"},
        {variantOf(VT_UI8, ~0ull), VT_BSTR, "18446744073709551615"},
        {money(12345), VT_BSTR, "1.2345"}, {money(-1000500), VT_BSTR, "-100.05"}, {money(12345), VT_R8, "1.2345"},
        {money(9007199254740993), VT_BSTR, "900719925474.0993"}, {money(-25000), VT_I4, "-2"},
        {money(15001), VT_I4, "2"}, {variantOf(VT_I8, 922337203685477ll), VT_CY, "922337203685477"},
        {variantOf(VT_UI8, 922337203685478ull), VT_CY, "overflow"},
        {variantOf(VT_DATE, 45351.75), VT_I4, "45352"}, {variantOf(VT_DATE, 3e6), VT_BSTR, "overflow"},
        {variantOf(VT_I4, 45351), VT_DATE, "29/02/2024"},
        {one, VT_DISPATCH, "mismatch"}, {one, VT_VARIANT, "bad type"},
    };
    // clang-format on
    for (const auto& [source, type, expected] : cases)
        EXPECT_EQ(converted(source, type), expected) << source.vt << " to " << type;
    // Clients that do not ask for words get the Boolean's number.
    Variant plain;
    EXPECT_EQ(VariantChangeType(plain.address(), &truth, 0, VT_BSTR), S_OK);
    EXPECT_EQ(plain.toText(), u"-1");
    EXPECT_EQ(Variant::copyOf(truth).toText(), u"True");
}

TEST(Automation, FollowsTheUsersLocale)
{
    const ScratchDirectory scratch;
    const std::string name = "it_IT.ISO-8859-1", american = "en_US.ISO-8859-1";
    for (const std::string& made : {name, american})
        if (std::system(("localedef -f ISO-8859-1 -i " + made.substr(0, 5) + " " + (scratch / made).string() +
                         " >/dev/null 2>&1")
                            .c_str()))
            GTEST_SKIP() << "locales cannot be made on this machine";
    const ScopedVariable path("LOCPATH", scratch.path().string()), all("LC_ALL", ""),
        time("LC_TIME", american), numeric("LC_NUMERIC", "C"), language("LANG", name);
    convert(VT_R8, {{u"1.5", "1.5"}});
    convert(VT_DATE, {{u"1/2/2024", "02/01/2024"}});

    const ScopedVariable over("LC_ALL", name);
    convert(VT_R8, {{u"1.234,5", "1234.5"}, {u"1.5", "15"}}); // the point groups digits
    convert(VT_I4, {{u"2,5", "2"}, {u"1,2,3", "mismatch"}});
    convert(VT_DATE, {{u"1.2.2024", "01/02/2024"}, {u"2/13/2024", "13/02/2024"}});
    EXPECT_EQ(Variant(1234.5).toText(), u"1234,5");
    EXPECT_EQ(Variant::fromDate(45351.75).toText(), u"29/02/2024 18:00:00");

    const ScopedVariable gone("LC_ALL", "xx_XX.UTF-8");
    convert(VT_R8, {{u"1.5", "1.5"}});
}

TEST(Automation, KeepsErrorInformationOfEachThread)
{
    const auto set = [](const char16_t* text) {
        ComPtr<ICreateErrorInfo> fresh;
        ComPtr<IErrorInfo> info;
        CreateErrorInfo(fresh.address());
        fresh->SetDescription(const_cast<LPOLESTR>(text));
        EXPECT_EQ(fresh->QueryInterface(IID_IErrorInfo, info.addressVoid()), S_OK);
        SetErrorInfo(0, info.get());
    };
    set(u"first");
    std::thread([&] {
        ComPtr<IErrorInfo> none;
        EXPECT_EQ(GetErrorInfo(0, none.address()), S_FALSE);
        set(u"never fetched");
        set(u"released when the thread ends");
    }).join();
    ComPtr<IErrorInfo> info;
    Bstr description, source;
    ASSERT_EQ(GetErrorInfo(0, info.address()), S_OK);
    EXPECT_EQ(info->GetDescription(description.address()), S_OK);
    EXPECT_EQ(info->GetSource(source.address()), S_OK);
    EXPECT_EQ(info->GetDescription(nullptr), E_POINTER);
    EXPECT_EQ(description.view(), u"first");
    EXPECT_EQ(source.view(), u"");
    EXPECT_EQ(GetErrorInfo(0, info.address()), S_FALSE);
}

TEST(Automation, FindsRegisteredClasses)
{
    const ScratchDirectory scratch;
    const ScopedVariable registry("AUTOMATION_REGISTRY", (scratch / "new directory" / "registry").string());
    const auto create = [](ComPtr<IUnknown>& object) {
        return CoCreateInstance(CLSID_DispSvr, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown,
                                object.addressVoid());
    };
    const fs::path component = scratch / "copia per\xF2.so", text = scratch / "text.so";
    const auto isLoaded = [&] {
        void* handle = dlopen(component.c_str(), RTLD_NOW | RTLD_NOLOAD);
        return handle && dlclose(handle) == 0;
    };
    fs::copy_file(COMPONENT_FILE, component);
    write(text, "no component");

    ComPtr<IUnknown> object;
    EXPECT_EQ(create(object), REGDB_E_CLASSNOTREG);
    for (const auto& [file, result] :
         {std::pair(scratch / "gone.so", CO_E_DLLNOTFOUND), {text, CO_E_ERRORINDLL}, {component, S_OK}}) {
        EXPECT_EQ(AutomationRegisterClass(CLSID_DispSvr, u"Test.Class", file.c_str()), S_OK);
        // A file is in use as long as an object of it, or a thread that it keeps something for.
        std::thread([&, &result = result] {
            ComPtr<IUnknown> created;
            EXPECT_EQ(create(created), result);
            created.reset();
            std::thread(CoFreeUnusedLibraries).join();
            EXPECT_EQ(isLoaded(), result == S_OK);
        }).join();
    }
    CoFreeUnusedLibraries();
    EXPECT_FALSE(isLoaded());

    CLSID clsid;
    EXPECT_EQ(CLSIDFromProgID(u"tEST.class", &clsid), S_OK);
    EXPECT_EQ(clsid, CLSID_DispSvr);
    EXPECT_EQ(AutomationUnregisterClass(CLSID_DispSvr, u"Another.Class"), S_OK);
    EXPECT_EQ(CLSIDFromString(u"Test.Class", &clsid), S_OK);
    EXPECT_EQ(AutomationUnregisterClass(CLSID_DispSvr, u"Test.Class"), S_OK);
    EXPECT_EQ(CLSIDFromProgID(u"Test.Class", &clsid), CO_E_CLASSSTRING);
}

TEST(Automation, LosesNoRegistrationOfSeveralAtOnce)
{
    const ScratchDirectory scratch;
    const fs::path file = scratch / "registry";
    const ScopedVariable registry("AUTOMATION_REGISTRY", file.string());
    write(file, "a line of somebody else\n");
    constexpr std::uint16_t threads = 4, classes = 10;
    std::vector<std::jthread> registering;
    for (std::uint16_t thread = 0; thread < threads; ++thread)
        registering.emplace_back([=] {
            for (std::uint16_t number = 0; number < classes; ++number) {
                AutomationRegisterClass({1, thread, number, {}}, u"A.B", "/some/file");
                AutomationUnregisterClass({1, thread, static_cast<std::uint16_t>(number - 1), {}}, u"A.B");
            }
        });
    registering.clear(); // waits for them
    const std::string text = read(file);
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1 + threads);
    EXPECT_TRUE(text.starts_with("a line of somebody else\n"));
}

} // namespace
} // namespace vqloan::test
