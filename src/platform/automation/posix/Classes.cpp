// Class objects: from an identifier to an object, by way of the registry and the component's file.
#include <algorithm>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include <dlfcn.h>
#include <unistd.h>

#include "platform/automation/posix/ClassRegistry.h"
#include "platform/automation/posix/Guard.h"
#include "platform/automation/posix/Reference.h"
#include "platform/automation/posix/ThreadState.h"

using namespace automation;

namespace {

namespace fs = std::filesystem;
using registry::Registration;

// A component's file, loaded as long as this lives.
class Library
{
public:
    // Null when the file cannot be loaded or lacks the entry point that gives class objects.
    static std::shared_ptr<Library> load(const fs::path& file)
    {
        std::shared_ptr<Library> library(new Library(file));
        return library->getClassObject_ ? library : nullptr;
    }
    ~Library()
    {
        if (handle_)
            dlclose(handle_);
    }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    const fs::path& file() const noexcept { return file_; }
    HRESULT getClassObject(REFCLSID clsid, REFIID iid, void** object) const
    {
        return getClassObject_(clsid, iid, object);
    }
    // A component that cannot tell is never unloaded.
    bool canUnloadNow() const { return canUnloadNow_ && canUnloadNow_() == S_OK; }

private:
    explicit Library(const fs::path& file) : file_(file), handle_(dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL))
    {
        if (!handle_)
            return;
        getClassObject_ = reinterpret_cast<GetClassObject*>(dlsym(handle_, "DllGetClassObject"));
        canUnloadNow_ = reinterpret_cast<CanUnloadNow*>(dlsym(handle_, "DllCanUnloadNow"));
    }

    using GetClassObject = HRESULT(REFCLSID, REFIID, void**);
    using CanUnloadNow = HRESULT();

    fs::path file_;
    void* handle_;
    GetClassObject* getClassObject_ = nullptr;
    CanUnloadNow* canUnloadNow_ = nullptr;
};

// The loaded components of the process. Who calls into one holds a pointer of his own meanwhile, and one that
// is held so is not unloaded. They stay loaded at the end of the process: objects in static memory may
// outlive any order of destruction that could be chosen here.
class Libraries
{
public:
    static Libraries& ofProcess()
    {
        static Libraries& libraries = *new Libraries;
        return libraries;
    }

    HRESULT get(const fs::path& file, std::shared_ptr<Library>& library)
    {
        const std::lock_guard guard(mutex_);
        const auto known = std::find_if(loaded_.begin(), loaded_.end(),
                                        [&](const auto& candidate) { return candidate->file() == file; });
        if (known != loaded_.end()) {
            library = *known;
            return S_OK;
        }
        if (::access(file.c_str(), F_OK) != 0)
            return CO_E_DLLNOTFOUND;
        library = Library::load(file);
        if (!library)
            return CO_E_ERRORINDLL;
        loaded_.push_back(library);
        return S_OK;
    }

    // A thread on its way out of a component's last Release still runs the component's code, which no count
    // can tell: it is for the caller to see to that there is none.
    void unloadUnused()
    {
        std::vector<std::shared_ptr<Library>>
            unused; // closed after the lock is gone: closing runs foreign code
        const std::lock_guard guard(mutex_);
        unused.reserve(loaded_.size()); // what fails in the midst of erasing would leave holes
        std::erase_if(loaded_, [&](const std::shared_ptr<Library>& library) {
            if (library.use_count() > 1 || !library->canUnloadNow())
                return false;
            unused.push_back(library);
            return true;
        });
    }

private:
    // Recursive, since a file that is being loaded may create objects of other components.
    std::recursive_mutex mutex_;
    std::vector<std::shared_ptr<Library>> loaded_;
};

// Programmatic identifiers are plain ASCII without blanks.
bool toAscii(LPCOLESTR text, std::string& ascii)
{
    for (const OLECHAR letter : std::u16string_view(text ? text : u"")) {
        if (letter <= u' ' || letter > u'~')
            return false;
        ascii.push_back(static_cast<char>(letter));
    }
    return true;
}

} // namespace

HRESULT CoInitialize(void* reserved)
{
    return CoInitializeEx(reserved, 0);
}

HRESULT CoInitializeEx(void* reserved, DWORD)
{
    if (reserved)
        return E_INVALIDARG;
    // There are no apartments to keep apart, so nothing depends on the count but this answer.
    ThreadState* const state = ThreadState::findOrMake();
    if (!state)
        return E_OUTOFMEMORY;
    return state->initializations++ == 0 ? S_OK : S_FALSE;
}

void CoUninitialize()
{
    if (ThreadState* const state = ThreadState::find(); state && state->initializations > 0)
        --state->initializations;
}

HRESULT CoGetClassObject(REFCLSID clsid, DWORD context, void* reserved, REFIID iid, void** object)
{
    if (!object)
        return E_POINTER;
    *object = nullptr;
    if (reserved)
        return E_INVALIDARG;
    if (!(context & CLSCTX_INPROC_SERVER))
        return REGDB_E_CLASSNOTREG;
    return guarded([&]() -> HRESULT {
        Registration registration;
        if (const HRESULT result = registry::findClass(clsid, registration); FAILED(result))
            return result;
        std::shared_ptr<Library> library;
        if (const HRESULT result = Libraries::ofProcess().get(registration.file, library); FAILED(result))
            return result;
        return library->getClassObject(clsid, iid, object);
    });
}

HRESULT CoCreateInstance(REFCLSID clsid, IUnknown* outer, DWORD context, REFIID iid, void** object)
{
    if (!object)
        return E_POINTER;
    *object = nullptr;
    void* made = nullptr;
    if (const HRESULT result = CoGetClassObject(clsid, context, nullptr, IID_IClassFactory, &made);
        FAILED(result))
        return result;
    const Reference<IClassFactory> factory(static_cast<IClassFactory*>(made));
    return factory->CreateInstance(outer, iid, object);
}

void CoFreeUnusedLibraries()
{
    guarded([]() -> HRESULT {
        Libraries::ofProcess().unloadUnused();
        return S_OK;
    });
}

HRESULT CLSIDFromProgID(LPCOLESTR progId, CLSID* clsid)
{
    if (!progId || !clsid)
        return E_INVALIDARG;
    *clsid = {};
    return guarded([&]() -> HRESULT {
        std::string name;
        Registration registration;
        if (!toAscii(progId, name))
            return CO_E_CLASSSTRING;
        const HRESULT result = registry::findProgId(name, registration);
        if (SUCCEEDED(result))
            *clsid = registration.clsid;
        return result == REGDB_E_CLASSNOTREG ? CO_E_CLASSSTRING : result;
    });
}

HRESULT AutomationRegisterClass(REFCLSID clsid, LPCOLESTR progId, const char* file)
{
    if (!file || !*file)
        return E_INVALIDARG;
    return guarded([&]() -> HRESULT {
        // A relative path would be looked for in the system's library directories.
        Registration registration{clsid, {}, fs::absolute(file)};
        if (!toAscii(progId, registration.progId) ||
            registration.file.string().find('\n') != std::string::npos)
            return E_INVALIDARG;
        return registry::add(registration);
    });
}

HRESULT AutomationUnregisterClass(REFCLSID clsid, LPCOLESTR progId)
{
    return guarded([&]() -> HRESULT {
        std::string name;
        return toAscii(progId, name) ? registry::remove(clsid, name) : E_INVALIDARG;
    });
}
