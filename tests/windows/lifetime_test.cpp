// Objects, threads and the library coming and going.

#include "base/types.h"
#include "windows/host.h"

#include <gtest/gtest.h>
#include <optional>
#include <thread>

namespace kx3::test {
namespace {

/// What a leak raises.
struct Footprint {
    std::uintptr_t handles = nextHandle();
    std::size_t views = countViews();
    std::size_t heapBlocks = countHeapBlocks();

    /// The system gives out the lowest free number (its count of handles is 0 under some versions of Wine).
    static std::uintptr_t nextHandle() {
        return reinterpret_cast<std::uintptr_t>(platform::UniqueHandle(::CreateEventW(nullptr, 0, 0, nullptr)).get());
    }
    static std::size_t countViews() {
        std::size_t count = 0;
        MEMORY_BASIC_INFORMATION region{};
        for (const char *at = nullptr; ::VirtualQuery(at, &region, sizeof region) == sizeof region;
             at = static_cast<const char *>(region.BaseAddress) + region.RegionSize)
            if (region.State == MEM_COMMIT && region.Type == MEM_MAPPED) ++count;
        return count;
    }
    static std::size_t countHeapBlocks() {
        std::size_t count = 0;
        PROCESS_HEAP_ENTRY entry{};
        while (::HeapWalk(::GetProcessHeap(), &entry))
            if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0) ++count;
        return count;
    }
};

/// Run `body` again and again; it is told whether to attach, which takes most of the time.
template <class Body> void expectNothingIsLeftBy(Body body, std::uintptr_t handlesOfTheSystem = 0) {
    constexpr int cycles = 300;
    std::optional<Footprint> before;
    for (int i = -20; i < cycles; ++i) {
        if (i == 0) before.emplace();
        body(i % 10 == 0);
        ::SetErrorInfo(0, nullptr);
    }
    const Footprint after;
    EXPECT_LE(after.handles, before->handles + handlesOfTheSystem);
    EXPECT_EQ(after.views, before->views);
    EXPECT_EQ(after.heapBlocks, before->heapBlocks);
}

TEST(Lifetime, ObjectsOfAHostThatUnloadsTooEarlyLeaveNothingBehind) {
    const HostBlock length("tamselbuflength21", 40);
    length.at<Long>(0) = 0x7FFFFFFF;
    std::jthread([] {
        const ComThread com;
        expectNothingIsLeftBy([](bool attaching) {
            const auto mpu = Library().create();
            const auto callWithoutArgument = [&](DISPID member) {
                DISPPARAMS none{};
                return mpu->Invoke(member, IID_NULL, 0, DISPATCH_METHOD, &none, nullptr, nullptr, nullptr);
            };
            EXPECT_EQ(callWithoutArgument(0x60030001), DISP_E_BADPARAMCOUNT);
            if (!attaching) return;
            EXPECT_EQ(attach(*mpu, 21), overflowStatus);
            EXPECT_EQ(attach(*mpu, 22), S_OK);
            EXPECT_EQ(callWithoutArgument(0x60030007), S_OK);
        });
        EXPECT_FALSE(blockExists("tamselalgobuf22"));
        EXPECT_TRUE(blockExists("tamselibuffer"));
    }).join();
    EXPECT_FALSE(blockExists("tamselibuffer")) << "it ends with the thread that attached it";
}

TEST(Lifetime, ThreadsLeaveNothingBehind) {
    const Library plugIn;
    const auto thread = [&](bool attaching) {
        std::jthread([&] {
            const ComThread com;
            const auto mpu = plugIn.create();
            EXPECT_EQ(mpu->editfigmpu6(), subscriptStatus);
            EXPECT_EQ(attaching ? attach(*mpu, 21) : S_OK, S_OK); // the device buffer stays until the thread ends
        }).join();
    };
    // A system that starts and ends threads makes a few handles for itself, at times of its own.
    expectNothingIsLeftBy(thread, 10 * sizeof(HANDLE));
    EXPECT_FALSE(blockExists("tamselibuffer"));
}

TEST(Lifetime, ObjectsFactoriesAndLocksKeepTheLibrary) {
    const ComThread com;
    const Library plugIn;
    EXPECT_TRUE(plugIn.canUnload());
    auto factory = plugIn.factory();
    EXPECT_FALSE(plugIn.canUnload());
    factory->LockServer(TRUE);
    factory.reset();
    EXPECT_FALSE(plugIn.canUnload());
    plugIn.factory()->LockServer(FALSE);
    EXPECT_TRUE(plugIn.canUnload());
    auto mpu = plugIn.create();
    EXPECT_FALSE(plugIn.canUnload());
    mpu.reset();
    EXPECT_TRUE(plugIn.canUnload());
}

TEST(Threads, EachHasItsOwnBindingsAndMayNotUseAnothers) {
    const ComThread com;
    const Library plugIn;
    auto first = plugIn.create();
    const auto second = plugIn.create();
    ASSERT_EQ(attach(*first, 21), S_OK);
    std::jthread([&] {
        const ComThread other;
        const auto theirs = plugIn.create();
        EXPECT_EQ(theirs->sinitmpu6(), subscriptStatus) << "nothing is attached here";
        EXPECT_EQ(attach(*theirs, 22), S_OK);
        EXPECT_TRUE(blockExists("tamselalgobuf22"));
        EXPECT_EQ(first->sinitmpu6(), RPC_E_WRONG_THREAD);
        EXPECT_EQ(takeErrorText(), L"The object was called on another thread than its own");
        EXPECT_EQ(first.release()->Release(), 0U);
    }).join();
    EXPECT_FALSE(blockExists("tamselalgobuf22"));
    EXPECT_TRUE(blockExists("tamselalgobuf21")) << "the thread may be working on it";
    EXPECT_EQ(second->freesharebuffermpu6(), S_OK);
    EXPECT_FALSE(blockExists("tamselalgobuf21")) << "its next call carries the release out";
}

TEST(Threads, ObjectMayOutliveItsThread) {
    const Library plugIn;
    com::ComPtr<::_clsMPU> left;
    std::jthread([&] {
        const ComThread com;
        left = plugIn.create();
        EXPECT_EQ(attach(*left, 21), S_OK);
    }).join();
    EXPECT_FALSE(blockExists("tamselalgobuf21"));
    EXPECT_EQ(left->sinitmpu6(), RPC_E_WRONG_THREAD);
    left.reset();
    EXPECT_TRUE(plugIn.canUnload());
}

/// Call a member without arguments with a stack that is aligned to four bytes only, as this platform
/// allows.
HRESULT callOnMisalignedStack(::_clsMPU *object, void *function) {
    HRESULT status = 0;
    __asm__ volatile("movl %%esp, %%ebx\n\t"
                     "andl $-16, %%esp\n\t"
                     "subl $8, %%esp\n\t" // with the argument and the return address: 16 n + 4, 8 or 12
                     "pushl %1\n\t"
                     "call *%2\n\t"
                     "movl %%ebx, %%esp\n\t"
                     : "=a"(status)
                     : "r"(object), "r"(function)
                     : "ebx", "ecx", "edx", "memory", "cc");
    return status;
}

TEST(Host, StackOfTheCallerMayBeAlignedToFourBytes) {
    const ComThread com;
    const auto mpu = Library().create();
    ASSERT_EQ(attach(*mpu, 21), S_OK);
    void **table = *reinterpret_cast<void ***>(mpu.get());
    constexpr std::size_t sinitmpu6 = 16; // after the dispatch interface's seven
    EXPECT_EQ(callOnMisalignedStack(mpu.get(), table[sinitmpu6]), S_OK);
    EXPECT_EQ(mpu->freesharebuffermpu6(), S_OK);
}

} // namespace
} // namespace kx3::test
