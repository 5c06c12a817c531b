// Objects, threads and the library coming and going.

#include "rig/apartment.h"
#include "windows/host.h"

#include <algorithm>
#include <cfenv>
#include <clocale>
#include <gtest/gtest.h>
#include <tlhelp32.h>

namespace kx3::test {
namespace {

using com::ComPtr;
using com::receive;

constexpr int cycles = 1000;

/// What a leak would raise.
struct Footprint {
    std::size_t handles = 0;
    std::size_t views = 0;
    std::size_t heapBlocks = 0;
    DWORD threads = 0;

    static Footprint now() { return {countHandles(), countViews(), countHeapBlocks(), countThreads()}; }
    friend bool operator==(const Footprint &, const Footprint &) = default;
    friend std::ostream &operator<<(std::ostream &out, const Footprint &f) {
        return out << f.handles << " handles, " << f.views << " views, " << f.heapBlocks << " heap blocks, "
                   << f.threads << " threads";
    }

  private:
    /// The documented call gives 0 under some versions of Wine; the system's own list is complete.
    static std::size_t countHandles() {
        struct Entry {
            ULONG process;
            UCHAR kind;
            UCHAR flags;
            USHORT handle;
            void *object;
            ULONG access;
        };
        constexpr ULONG handleInformation = 16;
        constexpr std::size_t most = 1U << 16;
        using Query = LONG WINAPI(ULONG, void *, ULONG, ULONG *);
        static std::vector<Entry> list(most); // the count stands before the first entry
        static auto *query = reinterpret_cast<Query *>(
            reinterpret_cast<void *>(::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "NtQuerySystemInformation")));
        auto *base = reinterpret_cast<ULONG *>(list.data());
        if (query(handleInformation, base, static_cast<ULONG>(list.size() * sizeof(Entry)), nullptr) < 0) return 0;
        const auto *first = reinterpret_cast<const Entry *>(base + 1);
        return static_cast<std::size_t>(std::count_if(
            first, first + *base, [](const Entry &entry) { return entry.process == ::GetCurrentProcessId(); }));
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
        const HANDLE heap = ::GetProcessHeap();
        PROCESS_HEAP_ENTRY entry{};
        ::HeapLock(heap);
        while (::HeapWalk(heap, &entry))
            if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0) ++count;
        ::HeapUnlock(heap);
        return count;
    }
    static DWORD countThreads() {
        const platform::UniqueHandle snapshot(::CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
        THREADENTRY32 entry{};
        entry.dwSize = sizeof entry;
        DWORD count = 0;
        for (BOOL more = ::Thread32First(snapshot.get(), &entry); more; more = ::Thread32Next(snapshot.get(), &entry))
            if (entry.th32OwnerProcessID == ::GetCurrentProcessId()) ++count;
        return count;
    }
};

void attach(::_clsMPU &mpu, SHORT instance) { ASSERT_EQ(mpu.bufcommpu6(&instance), S_OK); }

/// A host that holds the blocks of an instance open, as hosts do: attaching then creates none, which
/// the system takes its time for.
struct BlockHolder {
    explicit BlockHolder(Integer instance) { blocks.MapSharedBlocks(instance, ui); }
    FakeUi ui;
    sharemap blocks;
};

/// Run `body`, told whether it is to attach, a thousand times. Attaching takes most of the time, and a
/// tenth of it shows a leak as exactly.
template <class Body> void expectNothingIsLeftBy(Body body, std::size_t handlesOfTheSystem = 0) {
    for (int i = 0; i < 3; ++i)
        body(true);
    ::SetErrorInfo(0, nullptr);
    const Footprint before = Footprint::now();
    for (int i = 0; i < cycles; ++i)
        body(i % 10 == 0);
    ::SetErrorInfo(0, nullptr);
    Footprint after = Footprint::now();
    EXPECT_LE(after.handles, before.handles + handlesOfTheSystem);
    if (handlesOfTheSystem != 0) after.handles = before.handles;
    EXPECT_EQ(after, before);
}

/// One whole life of an object, with failing calls and late-bound ones.
void liveOnce(const LoadedPlugin &plugin, bool attaching) {
    const auto mpu = plugin.create();
    const auto callWithoutArgument = [&](DISPID member) {
        DISPPARAMS none{};
        return mpu->Invoke(member, IID_NULL, 0, DISPATCH_METHOD, &none, nullptr, nullptr, nullptr);
    };
    EXPECT_EQ(callWithoutArgument(0x60030001), DISP_E_BADPARAMCOUNT);
    if (!attaching) return;
    SHORT instance = 21;
    {
        const HostBlock length("tamselbuflength21", 40);
        length.at<Long>(0) = 0x7FFFFFFF;
        ASSERT_EQ(mpu->bufcommpu6(&instance), static_cast<HRESULT>(0x800A0006));
    }
    attach(*mpu, 22);
    EXPECT_EQ(callWithoutArgument(0x60030007), S_OK);
    EXPECT_EQ(mpu->freesharebuffermpu6(), S_OK);
}

TEST(Footprint, SeesWhatIsLeft) {
    (void)Footprint::now(); // the first look makes places of its own
    const Footprint before = Footprint::now();
    {
        const HostBlock block("kx3test-footprint", 40);
        const std::unique_ptr<void, BOOL (*)(void *)> heap(
            ::HeapAlloc(::GetProcessHeap(), 0, 100), [](void *p) { return ::HeapFree(::GetProcessHeap(), 0, p); });
        const Footprint during = Footprint::now();
        EXPECT_GE(during.handles, before.handles + 1);
        EXPECT_EQ(during.views, before.views + 1);
        EXPECT_GE(during.heapBlocks, before.heapBlocks + 1);
    }
}

TEST(Lifetime, ThousandObjectsLeaveNothingBehind) {
    const BlockHolder failing(21), attached(22);
    const ComThread com;
    const LoadedPlugin plugin;
    expectNothingIsLeftBy([&](bool attaching) { liveOnce(plugin, attaching); });
}

TEST(Lifetime, ThousandThreadsLeaveNothingBehind) {
    const BlockHolder holder(21);
    const LoadedPlugin plugin;
    const auto thread = [&](bool attaching) {
        std::jthread([&] {
            const ComThread com;
            const auto mpu = plugin.create();
            EXPECT_LT(mpu->editfigmpu6(), 0);
            if (attaching) attach(*mpu, 21); // the device buffer stays attached until the thread ends
        }).join();
    };
    // A system that starts and ends threads makes a few handles for itself, at times of its own.
    expectNothingIsLeftBy(thread, cycles / 100);
    EXPECT_FALSE(blockExists("tamselibuffer"));
}

TEST(Lifetime, HostMayUnloadAThousandTimesWithBlocksAttached) {
    const BlockHolder holder(21);
    const ComThread com;
    expectNothingIsLeftBy([](bool) {
        const LoadedPlugin plugin;
        const auto mpu = plugin.create();
        EXPECT_EQ(mpu->put_buflg(1), S_OK);
        attach(*mpu, 21);
        EXPECT_TRUE(blockExists("tamselibuffer"));
    });
}

TEST(Lifetime, ObjectSurvivesAHostThatUnloadsTooEarly) {
    std::jthread([] {
        const ComThread com;
        com::ComPtr<::_clsMPU> mpu;
        {
            const LoadedPlugin plugin;
            mpu = plugin.create();
            attach(*mpu, 21);
        }
        EXPECT_EQ(mpu->sinitmpu6(), S_OK);
        mpu.reset();
        EXPECT_FALSE(blockExists("tamselalgobuf21"));
        EXPECT_TRUE(blockExists("tamselibuffer"));
    }).join();
    EXPECT_FALSE(blockExists("tamselibuffer")) << "it ends with the thread that attached it";
}

TEST(Lifetime, ObjectsFactoriesAndLocksKeepTheLibrary) {
    const ComThread com;
    const LoadedPlugin plugin;
    EXPECT_TRUE(plugin.canUnload());
    auto factory = plugin.factory();
    EXPECT_FALSE(plugin.canUnload());
    factory->LockServer(TRUE);
    factory.reset();
    EXPECT_FALSE(plugin.canUnload());
    plugin.factory()->LockServer(FALSE);
    EXPECT_TRUE(plugin.canUnload());
    auto mpu = plugin.create();
    EXPECT_FALSE(plugin.canUnload());
    mpu.reset();
    EXPECT_TRUE(plugin.canUnload());
}

TEST(Threads, TwoApartmentsHaveTwoSetsOfBindings) {
    const ComThread com;
    const LoadedPlugin plugin;
    const auto mine = plugin.create();
    attach(*mine, 21);
    std::jthread([&] {
        const ComThread other;
        const auto theirs = plugin.create();
        EXPECT_EQ(theirs->sinitmpu6(), static_cast<HRESULT>(0x800A0009)) << "nothing is attached here";
        attach(*theirs, 22);
        EXPECT_TRUE(blockExists("tamselalgobuf22"));
    }).join();
    EXPECT_FALSE(blockExists("tamselalgobuf22"));
    EXPECT_TRUE(blockExists("tamselalgobuf21"));
    EXPECT_EQ(mine->sinitmpu6(), S_OK);
}

TEST(Threads, CallOnAnotherThreadIsRefusedAndItsReleaseWaits) {
    const ComThread com;
    const LoadedPlugin plugin;
    auto first = plugin.create();
    const auto second = plugin.create();
    attach(*first, 21);
    std::jthread([&] {
        EXPECT_EQ(first->sinitmpu6(), RPC_E_WRONG_THREAD);
        EXPECT_EQ(takeErrorText(), L"The object was called on another thread than its own");
        EXPECT_EQ(first.release()->Release(), 0U);
    }).join();
    EXPECT_TRUE(blockExists("tamselalgobuf21")) << "the thread may be working on it";
    EXPECT_EQ(second->sinitmpu6(), S_OK);
    EXPECT_FALSE(blockExists("tamselalgobuf21"));
}

TEST(Threads, ObjectMayOutliveItsThread) {
    const LoadedPlugin plugin;
    ComPtr<::_clsMPU> left;
    std::jthread([&] {
        const ComThread com;
        left = plugin.create();
        attach(*left, 21);
    }).join();
    EXPECT_FALSE(blockExists("tamselalgobuf21"));
    EXPECT_EQ(left->sinitmpu6(), RPC_E_WRONG_THREAD);
    left.reset();
    EXPECT_TRUE(plugin.canUnload());
}

TEST(Host, LoadingChangesNothingOfTheProcess) {
    ASSERT_EQ(::GetModuleHandleW(L"kx3mpu6.dll"), nullptr);
    const auto x87 = [] {
        unsigned short word = 0;
        __asm__ volatile("fnstcw %0" : "=m"(word));
        return word;
    };
    const unsigned short hosts = static_cast<unsigned short>((x87() & ~0x0300U) | 0x0200U); // 53 bits
    __asm__ volatile("fldcw %0" ::"m"(hosts));
    const Footprint before = Footprint::now();
    const std::string locale = std::setlocale(LC_ALL, nullptr);
    const LoadedPlugin plugin;
    EXPECT_EQ(Footprint::now().threads, before.threads);
    EXPECT_EQ(x87(), hosts);
    EXPECT_EQ(std::fegetround(), FE_TONEAREST);
    EXPECT_EQ(locale, std::setlocale(LC_ALL, nullptr));
}

/// Call a member without arguments with a stack that is aligned to four bytes only, as this platform
/// allows.
HRESULT callOnMisalignedStack(::_clsMPU *object, HRESULT(STDMETHODCALLTYPE *function)(::_clsMPU *)) {
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
    const LoadedPlugin plugin;
    const auto mpu = plugin.create();
    attach(*mpu, 21);
    auto **vtable = *reinterpret_cast<void ***>(mpu.get());
    constexpr std::size_t sinitmpu6 = 16; // after the dispatch interface's seven
    using Method = HRESULT STDMETHODCALLTYPE(::_clsMPU *);
    EXPECT_EQ(callOnMisalignedStack(mpu.get(), reinterpret_cast<Method *>(vtable[sinitmpu6])), S_OK);
    EXPECT_EQ(mpu->freesharebuffermpu6(), S_OK);
}

} // namespace
} // namespace kx3::test
