// The component as its clients meet it: a loaded file with four entry points.
#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>

#include "System.h"
#include "component/face/DispSvrInterface.h"
#include "platform/program/Program.h"
#include "platform/runtime/ComPtr.h"

namespace vqloan::test {

inline void check(HRESULT result)
{
    if (FAILED(result))
        throw std::runtime_error("the call failed: " + std::to_string(result));
}

// Keeps the file loaded. A copy of the file in another directory is another site, with its own settings
// there.
class Component
{
public:
    // Throws std::runtime_error when the file cannot be loaded.
    explicit Component(const std::filesystem::path& file = COMPONENT_FILE) : library_(file) {}

    // A new object. Throws std::runtime_error when there is none.
    ComPtr<_DispSvr> create() const
    {
        ComPtr<_DispSvr> object;
        check(factory()->CreateInstance(nullptr, IID__DispSvr, object.addressVoid()));
        return object;
    }
    ComPtr<IClassFactory> factory() const
    {
        ComPtr<IClassFactory> factory;
        check(classObject(CLSID_DispSvr, IID_IClassFactory, factory.addressVoid()));
        return factory;
    }

    HRESULT classObject(REFCLSID clsid, REFIID iid, void** object) const
    {
        using ClassObject = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);
        return library_.function<ClassObject>("DllGetClassObject")(clsid, iid, object);
    }
    HRESULT canUnloadNow() const
    {
        return library_.function<HRESULT(STDAPICALLTYPE*)()>("DllCanUnloadNow")();
    }

private:
    program::Library library_;
};

} // namespace vqloan::test
