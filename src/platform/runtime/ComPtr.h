// Owner of one reference to an interface.
#pragma once

#include <utility>

#include "platform/automation/Automation.h"

namespace vqloan {

template <class Interface> class ComPtr
{
public:
    ComPtr() noexcept = default;
    // Takes a reference of its own.
    explicit ComPtr(Interface* object) noexcept : object_(object)
    {
        if (object_)
            object_->AddRef();
    }
    ~ComPtr() { reset(); }
    ComPtr(const ComPtr& other) noexcept : ComPtr(other.object_) {}
    ComPtr(ComPtr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    ComPtr& operator=(ComPtr other) noexcept
    {
        std::swap(object_, other.object_);
        return *this;
    }
    // Takes over a reference that the caller owns.
    static ComPtr adopt(Interface* object) noexcept
    {
        ComPtr owner;
        owner.object_ = object;
        return owner;
    }

    void reset() noexcept
    {
        if (Interface* object = std::exchange(object_, nullptr))
            object->Release();
    }
    Interface* get() const noexcept { return object_; }
    Interface* operator->() const noexcept { return object_; }
    explicit operator bool() const noexcept { return object_ != nullptr; }
    // For an out parameter; releases what was held.
    Interface** address() noexcept
    {
        reset();
        return &object_;
    }
    void** addressVoid() noexcept { return reinterpret_cast<void**>(address()); }
    [[nodiscard]] Interface* release() noexcept { return std::exchange(object_, nullptr); }

private:
    Interface* object_ = nullptr;
};

} // namespace vqloan
