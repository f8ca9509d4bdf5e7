#include "platform/runtime/Registration.h"

#include <new>
#include <ranges>
#include <string>
#include <vector>

#include "platform/runtime/Bstr.h"
#include "platform/runtime/OsProcess.h"
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
        if (open(HKEY_LOCAL_MACHINE) == ERROR_ACCESS_DENIED) {
            ofUser_ = true;
            open(HKEY_CURRENT_USER);
        }
    }
    ~Classes()
    {
        if (key_)
            RegCloseKey(key_);
    }
    Classes(const Classes&) = delete;
    Classes& operator=(const Classes&) = delete;

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
            if (status == ERROR_SUCCESS && isEmpty(entry.key))
                status = RegDeleteKeyW(key_, toOle(entry.key.c_str()));
            if (status != ERROR_SUCCESS && status != ERROR_FILE_NOT_FOUND)
                return status;
        }
        return ERROR_SUCCESS;
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
    bool ofUser_ = false;
};

HRESULT registerTypeLibrary(const Classes& classes)
{
    ComPtr<ITypeLib> library;
    if (const HRESULT result = loadEmbeddedTypeLibrary(library); FAILED(result))
        return result;
    std::u16string file = os::loadedFile();
    auto* const path = reinterpret_cast<OLECHAR*>(file.data());
    return classes.ofUser() ? RegisterTypeLibForUser(library.get(), path, nullptr)
                            : RegisterTypeLib(library.get(), path, nullptr);
}

HRESULT unregisterTypeLibrary(const Classes& classes)
{
    ComPtr<ITypeLib> library;
    if (const HRESULT result = loadEmbeddedTypeLibrary(library); FAILED(result))
        return result;
    TLIBATTR* described = nullptr;
    if (const HRESULT result = library->GetLibAttr(&described); FAILED(result))
        return result;
    const TLIBATTR known = *described;
    library->ReleaseTLibAttr(described);
    const auto unregister = classes.ofUser() ? UnRegisterTypeLibForUser : UnRegisterTypeLib;
    const HRESULT result =
        unregister(known.guid, known.wMajorVerNum, known.wMinorVerNum, known.lcid, known.syskind);
    return result == TYPE_E_REGISTRYACCESS ? S_OK : result; // it was not registered
}

} // namespace

HRESULT registerClass(const ClassRegistration& registration) noexcept
try {
    const Classes classes;
    LSTATUS status = classes.write(entriesOfClass(registration));
    if (status == ERROR_SUCCESS)
        status = classes.write(entriesOfProgId(registration));
    return status == ERROR_SUCCESS ? registerTypeLibrary(classes) : resultOf(status);
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

HRESULT unregisterClass(const ClassRegistration& registration) noexcept
try {
    const Classes classes;
    const HRESULT libraryGone = unregisterTypeLibrary(classes);
    LSTATUS status = classes.remove(entriesOfClass(registration));
    if (status == ERROR_SUCCESS && !classes.has(classKey(registration)))
        status = classes.remove(entriesOfProgId(registration));
    return status == ERROR_SUCCESS ? libraryGone : resultOf(status);
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

} // namespace vqloan
