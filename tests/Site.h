// A site: a scratch directory with a copy of the component, its settings files and what they name; and a
// client of it. Texts are UTF-8 here.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "Component.h"
#include "FailureOf.h"
#include "ScratchDirectory.h"
#include "platform/runtime/Bstr.h"
#include "platform/runtime/Text.h"
#include "platform/runtime/Variant.h"

namespace vqloan::test {

// "a|b" for the fields a and b, "\n" for the end of a line: as cases write requests and answers.
inline std::string wire(std::string text)
{
    std::string bytes;
    for (const char c : text)
        bytes += c == '|' ? std::string("\t") : c == '\n' ? std::string("\r\n") : std::string(1, c);
    return bytes;
}

inline std::string readable(const std::string& bytes)
{
    std::string text;
    for (const char c : bytes)
        if (c != '\r')
            text += c == '\t' ? '|' : c == '\0' ? '~' : c;
    return text;
}

// One object, used through its published interface.
class Client
{
public:
    explicit Client(ComPtr<_DispSvr> object) : object(std::move(object)) {}

    // True when opening failed.
    bool open(const std::string& kind) { return open(Variant(text::fromUtf8(kind))); }
    bool open(Variant kind)
    {
        VARIANT_BOOL failed = VARIANT_FALSE;
        check(object->OpenDatabase(kind.address(), &failed));
        return failed == VARIANT_TRUE;
    }
    // Request and answer as `wire` and `readable` write them.
    std::string ask(const std::string& request) { return readable(text::toUtf8(raw(wire(request)))); }
    std::u16string raw(const std::string& request)
    {
        const Bstr lines(text::fromUtf8(request));
        Bstr handle, bid, answer;
        check(object->VisNre(handle.address(), bid.address(), lines.get(), answer.address()));
        return std::u16string(answer.view());
    }
    std::string testCodBib(const std::string& code)
    {
        Bstr library(text::fromUtf8(code)), name;
        check(object->TestCodBib(library.address(), name.address()));
        return text::toUtf8(name.view());
    }
    std::int16_t kind()
    {
        std::int16_t value = -1;
        check(object->get_DBType(&value));
        return value;
    }
    std::string ownLibrary()
    {
        Bstr code;
        check(object->get_BibPosse(code.address()));
        return text::toUtf8(code.view());
    }
    void ownLibrary(const std::string& code)
    {
        check(object->put_BibPosse(Bstr(text::fromUtf8(code)).get()));
    }

    // The last one recorded.
    Failed failure()
    {
        Variant number, source, description;
        check(object->LastError(number.address(), source.address(), description.address(), nullptr, nullptr,
                                nullptr));
        return {number.toLong(), text::toUtf8(source.toText()), text::toUtf8(description.toText())};
    }

    ComPtr<_DispSvr> object;
};

class Site
{
public:
    Site() { std::filesystem::copy_file(COMPONENT_FILE, directory / componentName); }

    void settings(const std::string& ini) const { write(directory / "SvrDisp.ini", ini); }
    // Lines as in the file, ended by "\n" here.
    void hostParameters(const std::string& lines) const { write(directory / "CLIENT.PAR", wire(lines)); }

    Client client()
    {
        if (!component_)
            component_ = std::make_unique<Component>(directory / componentName);
        return Client(component_->create());
    }

    ScratchDirectory directory;

private:
    std::unique_ptr<Component> component_;
};

} // namespace vqloan::test
