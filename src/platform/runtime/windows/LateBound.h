// An automation object that is known by the names of its members alone.
#pragma once

#include <initializer_list>
#include <optional>
#include <string>
#include <utility>

#include "platform/automation/Automation.h"
#include "platform/runtime/Bstr.h"
#include "platform/runtime/ComPtr.h"
#include "platform/runtime/Variant.h"

namespace vqloan {

// Holds one reference. Every call may fail with a RuntimeError: the number, text, source and help that the
// object reports (numbers of the language runtime as such, others as HRESULTs), 438 for a member it does not
// have, 91 when there is no object.
class LateBound
{
public:
    explicit LateBound(ComPtr<IDispatch> object) noexcept : object_(std::move(object)) {}

    // A new object of the class, or nothing where the class is not registered or COM not in use on this
    // thread. RuntimeError 429 when a registered class cannot make one.
    static std::optional<LateBound> createIfRegistered(REFCLSID clsid);
    // A new object of the class, given by its identifier or its programmatic one. RuntimeError 429 when there
    // is none.
    static LateBound create(REFCLSID clsid);
    static LateBound create(LPCOLESTR progId);

    Variant call(LPCOLESTR member, std::initializer_list<VARIANT> arguments = {}) const
    {
        return invoke(member, DISPATCH_METHOD, arguments);
    }
    Variant get(LPCOLESTR property, std::initializer_list<VARIANT> arguments = {}) const
    {
        return invoke(property, DISPATCH_PROPERTYGET, arguments);
    }
    void put(LPCOLESTR property, VARIANT value) const { invoke(property, DISPATCH_PROPERTYPUT, {value}); }
    // The object that a property holds; RuntimeError 13 when it holds none.
    LateBound object(LPCOLESTR property, std::initializer_list<VARIANT> arguments = {}) const;

    const ComPtr<IDispatch>& get() const noexcept { return object_; }

private:
    Variant invoke(LPCOLESTR member, WORD kind, std::initializer_list<VARIANT> arguments) const;

    ComPtr<IDispatch> object_;
};

// Arguments of a late-bound call. They own nothing: what they are made of must outlive the call.
namespace argument {
inline VARIANT value(const Variant& value) noexcept
{
    return value.get();
}
VARIANT value(std::int32_t number) noexcept;
VARIANT value(const Bstr& text) noexcept;
VARIANT value(const ComPtr<IDispatch>& object) noexcept;
VARIANT byReference(std::int32_t& number) noexcept;
// A missing value stays one: by reference it would be a value given.
VARIANT byReference(Variant& value) noexcept;
} // namespace argument

// A text by reference for one call. What the callee leaves in it is the caller's text afterwards, if it
// succeeds.
class LentText
{
public:
    explicit LentText(std::u16string& text) : text_(text), lent_(text) {}
    VARIANT lend() noexcept;
    void takeBack() { text_ = lent_.view(); }

private:
    std::u16string& text_;
    Bstr lent_;
};

// An object reference by reference for one call: the callee may release and replace it.
class LentObject
{
public:
    explicit LentObject(ComPtr<IDispatch> object) noexcept : lent_(object.release()) {}
    ~LentObject() { takeBack(); }
    LentObject(const LentObject&) = delete;
    LentObject& operator=(const LentObject&) = delete;

    VARIANT lend() noexcept;
    ComPtr<IDispatch> takeBack() noexcept { return ComPtr<IDispatch>::adopt(std::exchange(lent_, nullptr)); }

private:
    IDispatch* lent_;
};

} // namespace vqloan
