// Failures as the language runtime knows them, and the thread's pending one.
#pragma once

#include <cstdint>
#include <exception>
#include <string>
#include <string_view>

namespace vqloan {

// Numbers of the runtime's own failures; `describe` gives their texts.
enum class Failure : std::int32_t
{
    InvalidCall = 5,
    Overflow = 6,
    OutOfMemory = 7,
    SubscriptOutOfRange = 9,
    TypeMismatch = 13,
    InternalError = 51,
    BadFileNumber = 52,
    FileNotFound = 53,
    BadFileMode = 54,
    FileAlreadyOpen = 55,
    DeviceIoError = 57,
    DiskFull = 61,
    InputPastEnd = 62,
    TooManyFiles = 67,
    PermissionDenied = 70,
    PathFileAccessError = 75,
    PathNotFound = 76,
    ObjectNotSet = 91,
    InvalidUseOfNull = 94,
};

// The runtime's text of a failure number; "Application-defined or object-defined error" for one it does not
// know.
std::u16string_view describe(std::int32_t number) noexcept;

// One failure with its six details. Numbers 1 to 65535 are the runtime's; all others are HRESULTs.
class RuntimeError : public std::exception
{
public:
    explicit RuntimeError(Failure failure, std::int32_t lastDllError = 0);
    RuntimeError(std::int32_t number, std::u16string description, std::u16string source = {});

    const char* what() const noexcept override { return "vqloan::RuntimeError"; }

    std::int32_t number = 0;
    std::u16string source;
    std::u16string description;
    std::u16string helpFile;
    std::int32_t helpContext = 0;
    std::int32_t lastDllError = 0; // errno or GetLastError of the operating-system call that failed
};

// The failure that the handler now running deals with; one per thread.
namespace pending {

// Takes what this thread's first failure would need of memory, while there is some. Throws std::bad_alloc.
void prepare();
// Makes a caught exception the thread's pending failure: a RuntimeError as it is, std::bad_alloc and
// std::length_error as 7, any other as 51. Without memory for its texts it is 7 with none.
void set(const std::exception_ptr& failure) noexcept;
// Gives the pending failure and clears it; number 0 and empty texts when there is none, 7 when there was no
// memory to keep one.
RuntimeError take() noexcept;

} // namespace pending

} // namespace vqloan
