#include "platform/runtime/Registration.h"

#include <new>
#include <ranges>
#include <string>
#include <vector>

#include "platform/runtime/Bstr.h"
#include "platform/runtime/OsProcess.h"
#include "platform/runtime/Text.h"
#include "platform/runtime/windows/EmbeddedTypeLibrary.h"

// In the system's library, but not in the compiler's headers.
extern "C" HRESULT WINAPI RegisterTypeLibForUser(ITypeLib* library, OLECHAR* path, OLECHAR* helpDirectory);
extern "C" HRESULT WINAPI UnRegisterTypeLibForUser(REFGUID guid, WORD major, WORD minor, LCID locale,
                                                   SYSKIND system);

namespace vqloan {
namespace {

constexpr const char16_t* defaultValue = nullptr;

struct Entry
{
    std::u16string key; // below the classes
    const char16_t* name;
    std::u16string value;
};

std::u16string textOf(const GUID& guid)
{
    std::u16string text(38, u'\0'); // braces and hyphens included
    StringFromGUID2(guid, reinterpret_cast<OLECHAR*>(text.data()), static_cast<int>(text.size() + 1));
    return text;
}

std::u16string classKey(const ClassRegistration& registration)
{
    return u"CLSID\\" + textOf(registration.clsid);
}

// All that is written for the class itself, in an order that creates a key before what lies below it.
std::vector<Entry> entriesOfClass(const ClassRegistration& registration)
{
    const std::u16string key = classKey(registration);
    const std::u16string server = key + u"\\InprocServer32";
    return {
        {key, defaultValue, std::u16string(registration.description)},
        {server, defaultValue, os::loadedFile()},
        {server, u"ThreadingModel", u"Apartment"},
        {key + u"\\ProgID", defaultValue, std::u16string(registration.progId)},
        {key + u"\\TypeLib", defaultValue, textOf(registration.typeLibrary)},
    };
}

// Apart from the class: 32-bit and 64-bit programs see two classes, but one programmatic identifier.
std::vector<Entry> entriesOfProgId(const ClassRegistration& registration)
{
    const std::u16string key(registration.progId);
    return {
        {key, defaultValue, std::u16string(registration.description)},
        {key + u"\\CLSID", defaultValue, textOf(registration.clsid)},
    };
}

HRESULT resultOf(LSTATUS status) noexcept
{
    return HRESULT_FROM_WIN32(static_cast<DWORD>(status));
}

// The classes of the machine, or the user's own where those of the machine cannot be written.
class Classes
{
public:
    Classes()
    {
        status_ = open(HKEY_LOCAL_MACHINE);
        if (status_ == ERROR_ACCESS_DENIED) {
            ofUser_ = true;
            status_ = open(HKEY_CURRENT_USER);
        }
    }
    ~Classes()
    {
        if (key_)
            RegCloseKey(key_);
    }
    Classes(const Classes&) = delete;
    Classes& operator=(const Classes&) = delete;

    // Why neither can be written.
    LSTATUS status() const noexcept { return status_; }
    bool ofUser() const noexcept { return ofUser_; }

    LSTATUS write(const std::vector<Entry>& entries) const
    {
        for (const Entry& entry : entries) {
            const auto size = static_cast<DWORD>((entry.value.size() + 1) * sizeof(char16_t));
            const LSTATUS status = RegSetKeyValueW(key_, toOle(entry.key.c_str()), toOle(entry.name), REG_SZ,
                                                   entry.value.c_str(), size);
            if (status != ERROR_SUCCESS)
                return status;
        }
        return ERROR_SUCCESS;
    }

    // Takes the values away, and the keys that hold nothing more.
    LSTATUS remove(const std::vector<Entry>& entries) const
    {
        for (const Entry& entry : entries | std::views::reverse) {
            LSTATUS status = RegDeleteKeyValueW(key_, toOle(entry.key.c_str()), toOle(entry.name));
            if (status == ERROR_SUCCESS)
                status = removeIfEmpty(entry.key);
            if (status != ERROR_SUCCESS && status != ERROR_FILE_NOT_FOUND)
                return status;
        }
        return ERROR_SUCCESS;
    }
    LSTATUS removeIfEmpty(const std::u16string& path) const
    {
        return isEmpty(path) ? RegDeleteKeyW(key_, toOle(path.c_str())) : ERROR_SUCCESS;
    }

    // For programs of either width.
    bool has(const std::u16string& path) const
    {
        return hasIn(KEY_WOW64_64KEY, path) || hasIn(KEY_WOW64_32KEY, path);
    }

private:
    LSTATUS open(HKEY root)
    {
        return RegCreateKeyExW(root, L"Software\\Classes", 0, nullptr, REG_OPTION_NON_VOLATILE,
                               KEY_READ | KEY_WRITE, nullptr, &key_, nullptr);
    }

    bool hasIn(REGSAM view, const std::u16string& path) const
    {
        HKEY found = nullptr;
        if (RegOpenKeyExW(key_, toOle(path.c_str()), 0, KEY_READ | view, &found) != ERROR_SUCCESS)
            return false;
        RegCloseKey(found);
        return true;
    }

    bool isEmpty(const std::u16string& path) const
    {
        HKEY found = nullptr;
        if (RegOpenKeyExW(key_, toOle(path.c_str()), 0, KEY_READ, &found) != ERROR_SUCCESS)
            return false;
        DWORD keys = 0, values = 0;
        const LSTATUS status = RegQueryInfoKeyW(found, nullptr, nullptr, nullptr, &keys, nullptr, nullptr,
                                                &values, nullptr, nullptr, nullptr, nullptr);
        RegCloseKey(found);
        return status == ERROR_SUCCESS && keys == 0 && values == 0;
    }

    HKEY key_ = nullptr;
    LSTATUS status_;
    bool ofUser_ = false;
};

// The file's name as readers see it that know the code page's characters alone: its short name where it has
// others.
std::u16string fileInCodePage()
{
    const std::u16string& file = os::loadedFile();
    std::u16string readBack;
    text::fromCodePage(text::toCodePage(file), readBack);
    if (readBack == file)
        return file;
    std::u16string shortName(file.size() + MAX_PATH, u'\0');
    const DWORD size = GetShortPathNameW(toOle(file.c_str()), reinterpret_cast<OLECHAR*>(shortName.data()),
                                         static_cast<DWORD>(shortName.size()));
    if (size == 0 || size > shortName.size()) // the volume keeps none
        return file;
    shortName.resize(size);
    return shortName;
}

// Its name in the registry, and what RegisterTypeLib does not write: the file as the library of the neutral
// locale. There the system looks when it makes the proxies that take calls from one apartment to another.
struct NeutralLibrary
{
    explicit NeutralLibrary(const TLIBATTR& library)
        : locale(u"TypeLib\\" + textOf(library.guid) + u'\\' + text::decimal(library.wMajorVerNum) + u'.' +
                 text::decimal(library.wMinorVerNum) + u"\\0"),
          entries{{locale + (library.syskind == SYS_WIN64 ? u"\\win64" : u"\\win32"), defaultValue,
                   fileInCodePage()}}
    {}

    std::u16string locale;
    std::vector<Entry> entries;
};

struct EmbeddedLibrary
{
    HRESULT load()
    {
        HRESULT result = loadEmbeddedTypeLibrary(library);
        TLIBATTR* found = nullptr;
        if (SUCCEEDED(result))
            result = library->GetLibAttr(&found);
        if (FAILED(result))
            return result;
        known = *found;
        library->ReleaseTLibAttr(found);
        return result;
    }

    ComPtr<ITypeLib> library;
    TLIBATTR known{};
};

HRESULT registerTypeLibrary(const Classes& classes)
{
    EmbeddedLibrary embedded;
    if (const HRESULT result = embedded.load(); FAILED(result))
        return result;
    std::u16string file = os::loadedFile();
    auto* const path = reinterpret_cast<OLECHAR*>(file.data());
    const auto write = classes.ofUser() ? RegisterTypeLibForUser : RegisterTypeLib;
    const HRESULT result = write(embedded.library.get(), path, nullptr);
    return FAILED(result) ? result : resultOf(classes.write(NeutralLibrary(embedded.known).entries));
}

HRESULT unregisterTypeLibrary(const Classes& classes)
{
    EmbeddedLibrary embedded;
    if (const HRESULT result = embedded.load(); FAILED(result))
        return result;
    const TLIBATTR& known = embedded.known;
    const NeutralLibrary neutral(known);
    LSTATUS status = classes.remove(neutral.entries);
    if (status == ERROR_SUCCESS)
        status = classes.removeIfEmpty(neutral.locale);
    if (status != ERROR_SUCCESS)
        return resultOf(status);
    const auto remove = classes.ofUser() ? UnRegisterTypeLibForUser : UnRegisterTypeLib;
    const HRESULT result =
        remove(known.guid, known.wMajorVerNum, known.wMinorVerNum, known.lcid, known.syskind);
    // A library that was not registered; wine finds fault with the arguments then.
    const bool wasNotThere =
        result == TYPE_E_REGISTRYACCESS || result == TYPE_E_LIBNOTREGISTERED || result == E_INVALIDARG;
    return wasNotThere ? S_OK : result;
}

} // namespace

HRESULT registerClass(const ClassRegistration& registration) noexcept
try {
    const Classes classes;
    LSTATUS status = classes.status();
    if (status == ERROR_SUCCESS)
        status = classes.write(entriesOfClass(registration));
    if (status == ERROR_SUCCESS)
        status = classes.write(entriesOfProgId(registration));
    return status == ERROR_SUCCESS ? registerTypeLibrary(classes) : resultOf(status);
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

HRESULT unregisterClass(const ClassRegistration& registration) noexcept
try {
    const Classes classes;
    if (classes.status() != ERROR_SUCCESS)
        return resultOf(classes.status());
    const HRESULT libraryGone = unregisterTypeLibrary(classes);
    LSTATUS status = classes.remove(entriesOfClass(registration));
    if (status == ERROR_SUCCESS && !classes.has(classKey(registration)))
        status = classes.remove(entriesOfProgId(registration));
    return status == ERROR_SUCCESS ? libraryGone : resultOf(status);
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

} // namespace vqloan
