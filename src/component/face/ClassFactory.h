// Makes DispSvr objects for the system and for clients.
#pragma once

#include <atomic>

#include "component/face/ModuleUse.h"
#include "platform/automation/Automation.h"

namespace vqloan {

// Created with one reference, deletes itself when the last is released. May be used on any thread.
class ClassFactory final : public IClassFactory
{
public:
    ClassFactory() = default;
    ClassFactory(const ClassFactory&) = delete;
    ClassFactory& operator=(const ClassFactory&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;

    // CLASS_E_NOAGGREGATION for an outer object.
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** object) override;
    // E_UNEXPECTED for an unlock without its lock.
    HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override;

private:
    ~ClassFactory() = default;

    ModuleUse::Counted counted_;
    std::atomic<ULONG> references_ = 1;
};

} // namespace vqloan
