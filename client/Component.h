// The component as a client uses it: a loaded file, one object, texts in and out.
#pragma once

#include <string>
#include <string_view>

#include "Failure.h"
#include "Site.h"
#include "component/face/DispSvrInterface.h"
#include "platform/program/Program.h"
#include "platform/runtime/ComPtr.h"

namespace vqloan::client {

// Every operation throws std::runtime_error when the call itself fails.
class Component
{
public:
    // Loads the site's component and makes the object.
    explicit Component(const Site& site);

    // False when the back end could not be opened; lastFailure tells why.
    bool open(std::string_view kind);
    void setOwnLibrary(std::string_view library);
    // The answer lines; empty when the request could not be answered.
    std::u16string answer(std::u16string_view requestLines);
    Failure lastFailure();

    void registerComponent() const;
    void unregisterComponent() const;

private:
    program::Library library_;
    ComPtr<_DispSvr> object_;
};

} // namespace vqloan::client
