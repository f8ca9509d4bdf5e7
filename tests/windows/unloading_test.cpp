// The module goes when its clients let go of it, on whatever thread they used it, and leaves nothing behind.
#include <gtest/gtest.h>

#include "Registered.h"

#include <psapi.h> // builds on <windows.h>

#include <future>
#include <memory>
#include <thread>

namespace vqloan::test {
namespace {

// What a load may leave behind in the process.
struct Holdings
{
    std::size_t handles, modules, heap;
    DWORD freeIndex; // the thread-local index that is taken next

    static Holdings now()
    {
        Holdings held{openFiles(), 0, 0, TlsAlloc()};
        TlsFree(held.freeIndex);
        HMODULE modules[256];
        DWORD size = 0;
        EnumProcessModules(GetCurrentProcess(), modules, sizeof modules, &size);
        held.modules = size / sizeof(HMODULE);
        HANDLE heaps[64];
        const DWORD count = GetProcessHeaps(64, heaps);
        for (DWORD i = 0; i < count; ++i)
            for (PROCESS_HEAP_ENTRY block{}; HeapWalk(heaps[i], &block);)
                if (block.wFlags & PROCESS_HEAP_ENTRY_BUSY)
                    held.heap += block.cbData;
        return held;
    }
};

bool isLoaded()
{
    return GetModuleHandleW(L"VQLoan.dll") != nullptr;
}

// A failure that is thrown, translated and recorded, and an answer.
void use(Client desk)
{
    EXPECT_TRUE(desk.open("7000")) << "no CLIENT.PAR";
    LONG number = 0;
    EXPECT_EQ(desk.object->ErrNumber(&number), S_OK);
    EXPECT_EQ(number, 53);
    EXPECT_NE(desk.ask("01||1"), "");
}

TEST(Unloading, LeavesNothingBehindHoweverOften)
{
    const Site site;
    const auto loadUseAndFree = [&] {
        {
            const Component component(site.directory / componentName);
            use(Client(component.create()));
            EXPECT_EQ(component.canUnloadNow(), S_OK);
        }
        return !isLoaded();
    };
    // With 32 bits, more than a process has thread-local indexes, of which a load took one.
    constexpr int before = 200, loads = sizeof(void*) == 8 ? 10'000 : 2'000;
    for (int i = 0; i < before; ++i)
        ASSERT_TRUE(loadUseAndFree());
    const Holdings early = Holdings::now();
    for (int i = before; i < loads; ++i)
        ASSERT_TRUE(loadUseAndFree()) << i;
    const Holdings late = Holdings::now();
    EXPECT_EQ(late.handles, early.handles);
    EXPECT_EQ(late.modules, early.modules);
    EXPECT_EQ(late.freeIndex, early.freeIndex);
    EXPECT_LT(late.heap, early.heap + loads - before) << "less than a byte a load";
}

TEST(Unloading, GoesFromUnderAThreadThatUsedItAndLivesOn)
{
    const Site site;
    auto component = std::make_unique<Component>(site.directory / componentName);
    std::promise<void> used, gone;
    std::thread worker([&] {
        use(Client(component->create()));
        used.set_value();
        gone.get_future().wait();
    });
    used.get_future().wait();
    component.reset();
    EXPECT_FALSE(isLoaded());
    gone.set_value();
    worker.join();
}

class ThreadsThatUsedIt : public Registered, public testing::WithParamInterface<COINIT>
{};

DWORD WINAPI work(void* model)
{
    CoInitializeEx(nullptr, *static_cast<const COINIT*>(model));
    use(Client(createByName()));
    CoUninitialize();
    return isLoaded();
}

// A worker in its own apartment is alone in COM, and leaving it unloads the module on the thread that used
// it. Free-threaded ones use the module through COM's own thread, for which wine keeps a reference to each
// class object: there the module stays.
TEST_P(ThreadsThatUsedIt, End)
{
    const COINIT model = GetParam();
    CoUninitialize();
    if (model == COINIT_MULTITHREADED)
        CoInitializeEx(nullptr, model); // wine waits for ever once 63 such apartments have come and gone
    Holdings early{};
    for (int i = 0; i < 100; ++i) {
        if (i == 10)
            early = Holdings::now();
        const HANDLE thread = CreateThread(nullptr, 0, work, const_cast<COINIT*>(&model), 0, nullptr);
        ASSERT_EQ(WaitForSingleObject(thread, 30'000), WAIT_OBJECT_0) << "it does not end";
        DWORD loaded = TRUE;
        GetExitCodeThread(thread, &loaded);
        CloseHandle(thread);
        EXPECT_EQ(loaded, model == COINIT_MULTITHREADED);
    }
    EXPECT_EQ(Holdings::now().handles, early.handles);
    EXPECT_EQ(Holdings::now().freeIndex, early.freeIndex);
    if (model == COINIT_MULTITHREADED)
        CoUninitialize();
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
}

INSTANTIATE_TEST_SUITE_P(Each, ThreadsThatUsedIt,
                         testing::Values(COINIT_APARTMENTTHREADED, COINIT_MULTITHREADED));

} // namespace
} // namespace vqloan::test
