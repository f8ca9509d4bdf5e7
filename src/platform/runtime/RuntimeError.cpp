#include "platform/runtime/RuntimeError.h"

#include <cxxabi.h>

#include <algorithm>
#include <new>
#include <stdexcept>
#include <utility>

#include "platform/runtime/PerThread.h"

namespace vqloan {
namespace {

struct FailureText
{
    Failure failure;
    std::u16string_view text;
};

constexpr FailureText failureTexts[] = {
    {Failure::InvalidCall, u"Invalid procedure call or argument"},
    {Failure::Overflow, u"Overflow"},
    {Failure::OutOfMemory, u"Out of memory"},
    {Failure::SubscriptOutOfRange, u"Subscript out of range"},
    {Failure::TypeMismatch, u"Type mismatch"},
    {Failure::InternalError, u"Internal error"},
    {Failure::BadFileNumber, u"Bad file name or number"},
    {Failure::FileNotFound, u"File not found"},
    {Failure::BadFileMode, u"Bad file mode"},
    {Failure::FileAlreadyOpen, u"File already open"},
    {Failure::DeviceIoError, u"Device I/O error"},
    {Failure::DiskFull, u"Disk full"},
    {Failure::InputPastEnd, u"Input past end of file"},
    {Failure::TooManyFiles, u"Too many files"},
    {Failure::PermissionDenied, u"Permission denied"},
    {Failure::PathFileAccessError, u"Path/File access error"},
    {Failure::PathNotFound, u"Path not found"},
    {Failure::ObjectNotSet, u"Object variable or With block variable not set"},
    {Failure::InvalidUseOfNull, u"Invalid use of Null"},
};

RuntimeError none()
{
    return RuntimeError(0, {});
}

RuntimeError withoutTexts(Failure failure)
{
    RuntimeError error = none();
    error.number = static_cast<std::int32_t>(failure);
    return error;
}

struct Pending
{
    RuntimeError failure = none();
};

RuntimeError translated(const std::exception_ptr& failure)
{
    try {
        std::rethrow_exception(failure);
    } catch (const RuntimeError& error) {
        return error;
    } catch (const std::bad_alloc&) {
        return RuntimeError(Failure::OutOfMemory);
    } catch (const std::length_error&) {
        return RuntimeError(Failure::OutOfMemory);
    } catch (...) {
        return RuntimeError(Failure::InternalError);
    }
}

} // namespace

std::u16string_view describe(std::int32_t number) noexcept
{
    const auto* found =
        std::find_if(std::begin(failureTexts), std::end(failureTexts), [number](const auto& known) {
            return static_cast<std::int32_t>(known.failure) == number;
        });
    return found == std::end(failureTexts) ? u"Application-defined or object-defined error" : found->text;
}

RuntimeError::RuntimeError(Failure failure, std::int32_t lastDllErrorOfCall)
    : number(static_cast<std::int32_t>(failure)), description(describe(number)),
      lastDllError(lastDllErrorOfCall)
{}

RuntimeError::RuntimeError(std::int32_t numberOfFailure, std::u16string text, std::u16string where)
    : number(numberOfFailure), source(std::move(where)), description(std::move(text))
{}

void pending::prepare()
{
    // The C++ library takes memory for a thread's first exception. Where a client that is not written in C++
    // has loaded it, the program ends when there is none.
    static_cast<void>(abi::__cxa_get_globals());
    perThread<Pending>();
}

void pending::set(const std::exception_ptr& failure) noexcept
{
    try {
        RuntimeError& kept = perThread<Pending>().failure;
        kept = withoutTexts(Failure::OutOfMemory);
        kept = translated(failure);
    } catch (...) { // no memory left for the texts: the number has to do
    }
}

RuntimeError pending::take() noexcept
{
    try {
        return std::exchange(perThread<Pending>().failure, none());
    } catch (...) { // nor was there memory for it to be set
        return withoutTexts(Failure::OutOfMemory);
    }
}

} // namespace vqloan
