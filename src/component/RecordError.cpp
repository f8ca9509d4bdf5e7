#include "component/RecordError.h"

#include <exception>
#include <new>
#include <utility>

#include "platform/runtime/ApplicationInfo.h"
#include "platform/runtime/RuntimeError.h"
#include "platform/runtime/Text.h"

namespace vqloan {

namespace {

constexpr std::u16string_view className = u"SvrODBC";

template <class Step> void ignoringFailure(Step step) noexcept
{
    try {
        step();
    } catch (...) { // recording must not fail; the other steps are still taken
    }
}

// The failure that is being handled, before the given details are put into it.
struct Gathered
{
    std::int32_t number = 0;
    std::u16string description;
    std::u16string helpContext = u"0";
    std::u16string helpFile;
    std::int32_t lastDllError = 0;
    std::u16string source;
};

Gathered gatherPending()
{
    RuntimeError failure = pending::take();
    return {.number = failure.number == 65535 ? 0 : failure.number,
            .description = std::move(failure.description),
            .helpContext = text::decimal(failure.helpContext),
            .helpFile = std::move(failure.helpFile),
            .lastDllError = failure.lastDllError,
            .source = std::move(failure.source)};
}

void applyGiven(Gathered& failure, const SysTools::FailureDetails& given) noexcept
{
    const auto apply = [](const Variant& argument, auto step) {
        if (!argument.isMissing())
            ignoringFailure(step);
    };
    apply(given.Number, [&] { failure.number = given.Number.toLong(); });
    apply(given.Description, [&] {
        std::u16string description = given.Description.toText();
        if (!failure.description.empty())
            description += u" (" + failure.description + u")";
        failure.description = std::move(description);
    });
    apply(given.HelpContext, [&] { failure.helpContext = given.HelpContext.toText(); });
    apply(given.HelpFile, [&] { failure.helpFile = given.HelpFile.toText(); });
    apply(given.LastDllError, [&] { failure.lastDllError = given.LastDllError.toLong(); });
    apply(given.Source, [&] { failure.source = given.Source.toText(); });
}

void store(const Gathered& failure, std::int32_t flags, const Variant& argument8, std::int32_t argument9)
{
    SysTools::FailureDetails details{.Number = failure.number,
                                     .Source = failure.source,
                                     .Description = failure.description,
                                     .HelpFile = failure.helpFile,
                                     .HelpContext = failure.helpContext,
                                     .LastDllError = failure.lastDllError};
    sysTools().StoreError(details, flags, argument8, argument9);
}

} // namespace

void RecordError(SysTools::FailureDetails given, std::int32_t Flags, const Variant& argument8,
                 std::int32_t argument9) noexcept
{
    if (Flags & (recording::asGiven | recording::asGivenToo)) {
        ignoringFailure([&] { sysTools().StoreError(given, Flags, argument8, argument9); });
        return;
    }
    Gathered failure;
    ignoringFailure([&] { failure = gatherPending(); });
    applyGiven(failure, given);
    if (Flags & recording::addSystemText)
        ignoringFailure([&] {
            std::int32_t code = failure.lastDllError;
            failure.description += u"\r\n" + sysTools().SysMessage(code);
        });
    const auto storeNumber = [&] { // which needs no memory: an earlier failure must not be taken for this one
        ignoringFailure([&] {
            SysTools::FailureDetails number{.Number = failure.number};
            sysTools().StoreError(number, Flags, argument8, argument9);
        });
    };
    try {
        store(failure, Flags, argument8, argument9);
    } catch (const std::bad_alloc&) {
        storeNumber();
    } catch (const RuntimeError& error) {
        if (error.number == static_cast<std::int32_t>(Failure::OutOfMemory))
            storeNumber();
    } catch (...) { // recording a failure must not fail
    }
}

std::u16string longSource(std::u16string_view procedure)
{
    // The 0 is a step number, and no operation numbers its steps.
    std::u16string source = ApplicationInfo::ofThread().moduleName();
    source.append(u".").append(className).append(procedure).append(u"0");
    return source;
}

std::u16string shortSource(std::u16string_view procedure)
{
    std::u16string source(className);
    return source.append(procedure);
}

namespace {

void record(std::u16string (*form)(std::u16string_view), std::u16string_view procedure,
            std::int32_t flags) noexcept
{
    SysTools::FailureDetails given;
    ignoringFailure([&] { given.Source = form(procedure); });
    RecordError(std::move(given), flags);
}

} // namespace

void recordFailure(std::u16string (*form)(std::u16string_view), std::u16string_view procedure) noexcept
{
    pending::set(std::current_exception());
    record(form, procedure, recording::gather);
}

void recordSourceOnly(std::u16string (*form)(std::u16string_view), std::u16string_view procedure) noexcept
{
    record(form, procedure, recording::asGiven);
}

} // namespace vqloan
