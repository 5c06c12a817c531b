// Objects, threads and the library coming and going.

#include "blocks/sharemap.h"
#include "rig/fakes.h"
#include "windows/host.h"

#include <cfenv>
#include <clocale>
#include <gtest/gtest.h>
#include <thread>

namespace kx3::test {
namespace {

constexpr HRESULT subscriptStatus = static_cast<HRESULT>(0x800A0009);

HRESULT attach(::_clsMPU &mpu, SHORT instance) { return mpu.bufcommpu6(&instance); }

/// What a leak would raise.
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

/// A host that holds the blocks of an instance open, as hosts do: attaching then creates none, which
/// the system takes its time for.
struct BlockHolder {
    explicit BlockHolder(Integer instance) { blocks.MapSharedBlocks(instance, ui); }
    FakeUi ui;
    sharemap blocks;
};

/// Run `body` a thousand times; it is told whether to attach, which takes most of the time: a tenth of the
/// runs shows a leak as exactly.
template <class Body> void expectNothingIsLeftBy(Body body, std::uintptr_t handlesOfTheSystem = 0) {
    constexpr int cycles = 1000;
    for (int i = 0; i < 3; ++i)
        body(true);
    ::SetErrorInfo(0, nullptr);
    const Footprint before;
    for (int i = 0; i < cycles; ++i)
        body(i % 10 == 0);
    ::SetErrorInfo(0, nullptr);
    const Footprint after;
    EXPECT_LE(after.handles, before.handles + handlesOfTheSystem);
    EXPECT_EQ(after.views, before.views);
    EXPECT_EQ(after.heapBlocks, before.heapBlocks);
}

TEST(Footprint, SeesWhatIsLeft) {
    (void)Footprint(); // the first look makes places of its own
    const Footprint before;
    const HostBlock block("kx3test-footprint", 40);
    const com::Bstr text(::SysAllocStringLen(nullptr, 5000));
    const Footprint during;
    EXPECT_GT(during.handles, before.handles);
    EXPECT_EQ(during.views, before.views + 1);
    EXPECT_GT(during.heapBlocks, before.heapBlocks);
}

TEST(Lifetime, ThousandObjectsLeaveNothingBehind) {
    BlockHolder failing(21);
    const BlockHolder attached(22);
    failing.blocks.buflength(0) = 0x7FFFFFFF;
    const ComThread com;
    const Library plugIn;
    expectNothingIsLeftBy([&](bool attaching) {
        const auto mpu = plugIn.create();
        const auto callWithoutArgument = [&](DISPID member) {
            DISPPARAMS none{};
            return mpu->Invoke(member, IID_NULL, 0, DISPATCH_METHOD, &none, nullptr, nullptr, nullptr);
        };
        EXPECT_EQ(callWithoutArgument(0x60030001), DISP_E_BADPARAMCOUNT);
        if (!attaching) return;
        EXPECT_EQ(attach(*mpu, 21), static_cast<HRESULT>(0x800A0006));
        EXPECT_EQ(attach(*mpu, 22), S_OK);
        EXPECT_EQ(callWithoutArgument(0x60030007), S_OK);
        EXPECT_EQ(mpu->freesharebuffermpu6(), S_OK);
    });
}

TEST(Lifetime, ThousandThreadsLeaveNothingBehind) {
    const BlockHolder holder(21);
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

TEST(Lifetime, HostMayUnloadAThousandTimesWithBlocksAttached) {
    const BlockHolder holder(21);
    const ComThread com;
    expectNothingIsLeftBy([](bool attaching) {
        const Library plugIn;
        const auto mpu = plugIn.create();
        EXPECT_EQ(mpu->put_buflg(1), S_OK);
        EXPECT_EQ(attaching ? attach(*mpu, 21) : S_OK, S_OK);
        EXPECT_TRUE(blockExists("tamselibuffer"));
    });
    EXPECT_EQ(Library().create()->freesharebuffermpu6(), S_OK);
}

TEST(Lifetime, ObjectSurvivesAHostThatUnloadsTooEarly) {
    std::jthread([] {
        const ComThread com;
        com::ComPtr<::_clsMPU> mpu = Library().create();
        EXPECT_EQ(attach(*mpu, 21), S_OK);
        EXPECT_EQ(mpu->sinitmpu6(), S_OK);
        mpu.reset();
        EXPECT_FALSE(blockExists("tamselalgobuf21"));
        EXPECT_TRUE(blockExists("tamselibuffer"));
    }).join();
    EXPECT_FALSE(blockExists("tamselibuffer")) << "it ends with the thread that attached it";
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

TEST(Host, LoadingChangesNothingOfTheProcess) {
    // A copy, which no other test has loaded yet.
    ASSERT_TRUE(::CopyFileW(Library().path().c_str(), L"kx3fresh.dll", FALSE));
    const auto x87 = [] {
        unsigned short word = 0;
        __asm__ volatile("fnstcw %0" : "=m"(word));
        return word;
    };
    const unsigned short hosts = static_cast<unsigned short>((x87() & ~0x0300U) | 0x0200U); // 53 bits
    __asm__ volatile("fldcw %0" ::"m"(hosts));
    const std::string locale = std::setlocale(LC_ALL, nullptr);
    const Library plugIn(L"kx3fresh.dll");
    EXPECT_TRUE(plugIn.canUnload());
    EXPECT_EQ(x87(), hosts);
    EXPECT_EQ(std::fegetround(), FE_TONEAREST);
    EXPECT_EQ(locale, std::setlocale(LC_ALL, nullptr));
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
