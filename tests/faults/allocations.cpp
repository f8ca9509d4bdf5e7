// Makes the n-th allocation fail, once and from there on, for every n of a client's work: load, create, open,
// ask, read the failure, release. Whatever fails, fails with 7 or E_OUTOFMEMORY, and the next call works.
//
//   allocations [STEP]       every STEP-th n, every one by default; status 1 when something was found
//   allocations soak TURNS   questions without a fault, in flat memory and with no file left open
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iostream>
#include <sstream>
#include <thread>
#include <utility>

#include <dlfcn.h>
#include <unistd.h>

#include "Sites.h"

// --- The allocations ---

namespace {

bool exposed = false; // whether allocations may fail now; one thread at a time works here
bool lasting = false; // whether all later ones fail too
long left = 0;        // allocations until the first that fails

bool fails()
{
    if (!exposed)
        return false;
    --left;
    return left == 0 || (lasting && left < 0);
}

template <class Call> auto withFaults(Call call)
{
    exposed = true;
    auto result = call();
    exposed = false;
    return result;
}

} // namespace

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);

void* malloc(std::size_t size)
{
    return fails() ? (errno = ENOMEM, nullptr) : __libc_malloc(size);
}
void* calloc(std::size_t count, std::size_t size)
{
    return fails() ? (errno = ENOMEM, nullptr) : __libc_calloc(count, size);
}
void* realloc(void* block, std::size_t size)
{
    return fails() ? (errno = ENOMEM, nullptr) : __libc_realloc(block, size);
}
}

namespace vqloan::test {
namespace {

constexpr HRESULT outOfMemory = static_cast<HRESULT>(0x800A0007);

bool isOutOfMemory(HRESULT result)
{
    return result == E_OUTOFMEMORY || result == outOfMemory;
}

// --- One turn ---

char current[100] = ""; // which fault, for a crash to tell
int found = 0;

void expect(bool holds, const std::string& what)
{
    if (holds)
        return;
    std::cerr << current << ": " << what << '\n';
    ++found;
}

void* load(const std::filesystem::path& file)
{
    return dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
}

HRESULT create(void* library, ComPtr<_DispSvr>& object)
{
    using ClassObject = HRESULT(REFCLSID, REFIID, void**);
    ComPtr<IClassFactory> factory;
    const HRESULT result = reinterpret_cast<ClassObject*>(dlsym(library, "DllGetClassObject"))(
        CLSID_DispSvr, IID_IClassFactory, factory.addressVoid());
    return FAILED(result) ? result : factory->CreateInstance(nullptr, IID__DispSvr, object.addressVoid());
}

// A client of one object. What it passes was allocated before allocations began to fail.
class Desk
{
public:
    explicit Desk(const Kind& kind)
        : kind_(kind), request_(text::fromUtf8(wire(kind.question))), name_(text::fromUtf8(kind.name))
    {
        if (kind.pendingEvent)
            AutomationSetPendingEvents(
                [](void* event) {
                    const bool were = std::exchange(exposed, false);
                    (*static_cast<const std::function<void()>*>(event))();
                    exposed = were;
                },
                const_cast<std::function<void()>*>(&kind.pendingEvent));
    }
    ~Desk() { AutomationSetPendingEvents(nullptr, nullptr); }

    // Each with faults; what is expected of it may be less when one was hit.
    void open()
    {
        VARIANT_BOOL failed = VARIANT_FALSE;
        judge(withFaults([&] { return object->OpenDatabase(name_.address(), &failed); }), "OpenDatabase");
        failed_ |= failed == VARIANT_TRUE;
    }
    void ask()
    {
        if (kind_.beforeAsk)
            kind_.beforeAsk();
        Bstr answer;
        const bool opened = !failed_;
        judge(withFaults([&] {
                  return object->VisNre(handle_.address(), bid_.address(), request_.get(), answer.address());
              }),
              "VisNre");
        if (opened)
            compare(readable(text::toUtf8(answer.view())));
    }
    void readFailure()
    {
        const bool before = std::exchange(failed_, false);
        Variant number, source, description;
        judge(withFaults([&] {
                  return object->LastError(number.address(), source.address(), description.address(), nullptr,
                                           nullptr, nullptr);
              }),
              "LastError");
        failed_ |= before;
    }

    // What was recorded is the failure that was met, and not an earlier one. A thread's very first record may
    // need memory that is not there.
    void checkRecord(bool freshThread)
    {
        LONG number = -1;
        expect(object->ErrNumber(&number) == S_OK, "ErrNumber fails");
        if (recorded_)
            expect(number == 7 || (freshThread && number == 0), "the number is " + std::to_string(number));
    }
    void checkWorks()
    {
        failed_ = false;
        open();
        ask();
        if (failed_) {
            const Failed failure = Client(object).failure();
            expect(false,
                   "the next call fails: " + std::to_string(failure.number) + " " + failure.description);
        }
    }

    ComPtr<_DispSvr> object;

private:
    void judge(HRESULT result, const char* what)
    {
        expect(result == S_OK || isOutOfMemory(result),
               what + std::string(" gives ") + std::to_string(result));
        failed_ |= result != S_OK;
        recorded_ = failed_ && result == S_OK;
    }

    // Each line is the right one, or says that it failed.
    void compare(const std::string& answer)
    {
        std::istringstream expected(kind_.answer), given(answer);
        std::string right, line;
        const bool whole = answer == kind_.answer;
        while (!whole && std::getline(expected, right))
            expect(answer.empty() ||
                       (std::getline(given, line) &&
                        (line == right || line.starts_with("Codice Bibl. ") || line == "Civica|||")),
                   "the answer is " + answer);
        failed_ |= !whole;
        recorded_ |= !whole;
    }

    const Kind& kind_;
    Bstr request_, handle_, bid_;
    Variant name_;
    bool failed_ = false, recorded_ = false;
};

// False once there are fewer than n allocations.
bool turn(const Sites& sites, const Kind& kind, bool fresh, bool allLater, long n)
{
    std::snprintf(current, sizeof current, "%s, %s thread, allocation %ld%s", kind.name,
                  fresh ? "fresh" : "used", n, allLater ? " and all later ones" : "");
    const auto file = sites.site.directory / componentName;
    lasting = allLater;
    left = n;
    void* library = withFaults([&] { return load(file); });
    expect(library || left <= 0, "the component cannot be loaded");
    if (!library)
        library = load(file);
    {
        Desk desk(kind);
        const HRESULT created = withFaults([&] { return create(library, desk.object); });
        expect(created == S_OK || created == E_OUTOFMEMORY, "creating gives " + std::to_string(created));
        if (FAILED(created))
            create(library, desk.object);
        desk.open();
        desk.ask();
        desk.readFailure();
        const long rest = std::exchange(left, 0);
        lasting = false;
        desk.checkRecord(fresh);
        desk.checkWorks();
        left = rest;
        lasting = allLater;
        withFaults([&] { return desk.object.reset(), 0; });
        lasting = false;
    }
    const bool hit = left <= 0;
    left = 0;
    dlclose(library);
    return hit;
}

void onThread(bool fresh, const std::function<void()>& step)
{
    if (fresh)
        std::thread(step).join();
    else
        step();
}

void everyFault(long step)
{
    const Sites sites;
    for (const Kind& kind : sites.kinds)
        for (const bool fresh : {true, false}) {
            Desk earlier(
                kind); // keeps the component loaded for a thread that is used, with a failure recorded
            if (!fresh) {
                VARIANT_BOOL failed;
                create(load(sites.site.directory / componentName), earlier.object);
                earlier.checkWorks();
                expect(earlier.object->OpenDatabase(Variant::null().address(), &failed) == S_OK, "Null");
            }
            for (const bool allLater : {false, true}) {
                long n = 1;
                bool hit = true;
                for (; hit; n += step)
                    onThread(fresh, [&] { hit = turn(sites, kind, fresh, allLater, n); });
                std::cout << kind.name << ", " << (fresh ? "fresh" : "used") << " thread, "
                          << (allLater ? "and all later: " : "once: ") << n - step << " allocations\n";
            }
        }
}

void soak(long turns)
{
    const auto pages = [] {
        return std::stol(read("/proc/self/statm").substr(read("/proc/self/statm").find(' ')));
    };
    const Sites sites;
    void* library = load(sites.site.directory / componentName);
    for (const Kind& kind : sites.kinds) {
        Desk desk(kind);
        create(library, desk.object);
        desk.checkWorks();
        long before = 0;
        std::size_t files = 0;
        for (long number = 0; number < turns; ++number) {
            if (number == turns / 10) {
                before = pages();
                files = openFiles();
            }
            desk.ask();
        }
        std::snprintf(current, sizeof current, "%s, after %ld questions", kind.name, turns);
        std::cout << current << ": " << (pages() - before) * 4 << " KB more, " << openFiles() << " files\n";
        expect(pages() - before < 64, "memory grows");
        expect(openFiles() == files, "files stay open");
    }
}

void onCrash(int signal)
{
    static_cast<void>(!::write(2, current, std::strlen(current)));
    static_cast<void>(!::write(2, ": crashes\n", 10));
    std::_Exit(128 + signal);
}

} // namespace
} // namespace vqloan::test

int main(int count, char** arguments)
{
    using namespace vqloan::test;
    for (const int signal : {SIGABRT, SIGSEGV, SIGBUS, SIGFPE})
        std::signal(signal, onCrash);
    if (count == 3 && std::string(arguments[1]) == "soak")
        soak(std::atol(arguments[2]));
    else
        everyFault(count == 2 ? std::atol(arguments[1]) : 1);
    return found == 0 ? 0 : 1;
}
