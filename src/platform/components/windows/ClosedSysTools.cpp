#include "platform/components/windows/ClosedComponents.h"
#include "platform/runtime/RuntimeError.h"
#include "platform/runtime/windows/LateBound.h"

namespace vqloan::closed {
namespace {

constexpr CLSID sysToolsClass{0xEA62484D, 0x43DF, 0x11D2, {0xB9, 0x56, 0x00, 0xA0, 0x24, 0xED, 0x9C, 0x9B}};
constexpr CLSID iniFileClass{0xEA624849, 0x43DF, 0x11D2, {0xB9, 0x56, 0x00, 0xA0, 0x24, 0xED, 0x9C, 0x9B}};

class ClosedIniFile final : public IniFile
{
public:
    explicit ClosedIniFile(LateBound object) noexcept : object_(std::move(object)) {}

    void SetFile(const std::u16string& path) override
    {
        const Bstr file(path);
        object_.call(L"SetFile", {argument::value(file)});
    }

    const ComPtr<IDispatch>& get() const noexcept { return object_.get(); }

private:
    LateBound object_;
};

class ClosedSysTools final : public SysTools
{
public:
    explicit ClosedSysTools(LateBound object) noexcept : object_(std::move(object)) {}

    std::u16string DirSlash(std::u16string& directory) override
    {
        return callWith(L"DirSlash", directory).toText();
    }

    Variant ReadIni(const Variant& section, const Variant& key, const Variant& byDefault,
                    std::shared_ptr<IniFile>& ini) override
    {
        const auto* const bound = dynamic_cast<ClosedIniFile*>(ini.get());
        LentObject lent(bound ? bound->get() : ComPtr<IDispatch>());
        Variant found = object_.call(L"ReadIni", {argument::value(section), argument::value(key),
                                                  argument::value(byDefault), lent.lend()});
        if (ComPtr<IDispatch> left = lent.takeBack(); !left)
            ini.reset();
        else if (!bound || left.get() != bound->get().get())
            ini = std::make_shared<ClosedIniFile>(LateBound(std::move(left)));
        return found;
    }

    void StripChar(std::u16string& text, std::u16string& marker) override
    {
        LentText lentText(text), lentMarker(marker);
        object_.call(L"StripChar", {lentText.lend(), lentMarker.lend()});
        lentText.takeBack();
        lentMarker.takeBack();
    }

    bool ResolvePlaceholder(std::u16string& name) override
    {
        return callWith(L"ResolvePlaceholder", name).toLong() != 0;
    }

    bool FileExists(std::u16string& path) override { return callWith(L"FileExists", path).toLong() != 0; }

    std::int32_t TickCount() override { return object_.call(L"TickCount").toLong(); }

    void StoreError(FailureDetails& details, std::int32_t& flags, const Variant& argument8,
                    std::int32_t& argument9) override
    {
        using argument::byReference;
        object_.call(L"StoreError", {byReference(details.Number), byReference(details.Source),
                                     byReference(details.Description), byReference(details.HelpFile),
                                     byReference(details.HelpContext), byReference(details.LastDllError),
                                     byReference(flags), argument::value(argument8), byReference(argument9)});
    }

    void GetError(VARIANT* number, VARIANT* source, VARIANT* description, VARIANT* helpFile,
                  VARIANT* helpContext, VARIANT* lastDllError) override
    {
        // The caller's variables may be typed and by reference themselves, which cannot be passed on by
        // reference: the callee fills variables of our own.
        VARIANT* const arguments[] = {number, source, description, helpFile, helpContext, lastDllError};
        const auto given = [](const VARIANT* argument) { return argument && !Variant::isMissing(*argument); };
        Variant details[std::size(arguments)];
        for (std::size_t i = 0; i < std::size(arguments); ++i)
            details[i] = given(arguments[i]) ? Variant::copyOf(*arguments[i]) : Variant::missing();

        using argument::byReference;
        object_.call(L"GetError",
                     {byReference(details[0]), byReference(details[1]), byReference(details[2]),
                      byReference(details[3]), byReference(details[4]), byReference(details[5])});
        for (std::size_t i = 0; i < std::size(arguments); ++i)
            if (given(arguments[i]))
                Variant::assign(*arguments[i], details[i]);
    }

    std::u16string SysMessage(std::int32_t& code) override
    {
        return object_.call(L"SysMessage", {argument::byReference(code)}).toText();
    }

    std::u16string ErrorText(const Variant& omitted, std::int32_t& zero) override
    {
        return object_.call(L"ErrorText", {argument::value(omitted), argument::byReference(zero)}).toText();
    }

    void AfterError() override { object_.call(L"AfterError"); }

private:
    Variant callWith(LPCOLESTR member, std::u16string& text)
    {
        LentText lent(text);
        Variant answer = object_.call(member, {lent.lend()});
        lent.takeBack();
        return answer;
    }

    LateBound object_;
};

} // namespace

std::unique_ptr<SysTools> createSysTools()
{
    auto object = LateBound::createIfRegistered(sysToolsClass);
    return object ? std::make_unique<ClosedSysTools>(std::move(*object)) : nullptr;
}

std::shared_ptr<IniFile> createIniFile()
{
    return std::make_shared<ClosedIniFile>(LateBound::create(iniFileClass));
}

} // namespace vqloan::closed
