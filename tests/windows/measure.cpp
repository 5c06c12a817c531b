// Times of the door as a host sees them; prints a table. Usage: windows_measure
//
// Each figure is the median of several runs, every one of which loops long enough for the clock.

#include "host/memory/sharemap.h"
#include "windows/host.h"

#include <algorithm>
#include <chrono>
#include <cstdio>

namespace kx3::test {
namespace {

/// Median of the time of one round, in nanoseconds.
template <class Body> double measure(int rounds, Body body) {
    constexpr std::size_t runs = 9;
    std::array<double, runs> times{};
    for (double &time : times) {
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < rounds; ++i)
            body();
        const std::chrono::duration<double, std::nano> spent = std::chrono::steady_clock::now() - start;
        time = spent.count() / rounds;
    }
    std::nth_element(times.begin(), times.begin() + runs / 2, times.end());
    return times[runs / 2];
}

class NoUi final : public Ui {
  public:
    MessageBoxResult messageBox(std::u16string_view, Long, std::optional<std::u16string_view>) override {
        return MessageBoxResult::ok;
    }
    void yield() override {}
    void showModal(Form &) override {}
};

int run() {
    const ComThread com;
    const LoadedPlugin plugin;
    const auto mpu = plugin.create();
    if (!mpu) return std::puts("kx3mpu6.dll cannot be used"), 1;
    NoUi ui;
    sharemap host;
    host.MapSharedBlocks(21, ui);
    host.buflength(0) = 262144;
    host.MapDeviceBuffer(262144 + deviceBufferExtra, ui);

    LONG value = 0;
    std::printf("%-52s %9.1f ns\n", "read a property through the interface",
                measure(1000000, [&] { mpu->get_buflg(&value); }));
    DISPPARAMS none{};
    com::OwnedVariant result;
    std::printf("%-52s %9.1f ns\n", "read a property late-bound", measure(200000, [&] {
                    mpu->Invoke(0x40030000, IID_NULL, 0, DISPATCH_PROPERTYGET, &none, result.get(), nullptr, nullptr);
                }));
    SHORT instance = 21;
    std::printf("%-52s %9.3f ms\n", "attach 62 existing blocks, release them", measure(20, [&] {
                                                                                   mpu->bufcommpu6(&instance);
                                                                                   mpu->freesharebuffermpu6();
                                                                                   (void)plugin.create();
                                                                               }) / 1e6);
    std::printf("%-52s %9.3f ms\n", "the same with the bare system calls",
                measure(20, [&] {
                    const auto open = [](const std::string &name) {
                        const platform::UniqueHandle handle(
                            ::OpenFileMappingA(FILE_MAP_ALL_ACCESS, FALSE, name.c_str()));
                        void *view = ::MapViewOfFile(handle.get(), FILE_MAP_ALL_ACCESS, 0, 0, 0);
                        MEMORY_BASIC_INFORMATION region{};
                        ::VirtualQuery(view, &region, sizeof region);
                        ::UnmapViewOfFile(view);
                    };
                    for (const BlockRow &row : blockTable)
                        open(blockName(row, 21));
                    open(blockName(deviceBufferRow));
                    open(blockName(deviceBuffer66Row));
                }) / 1e6);
    return 0;
}

} // namespace
} // namespace kx3::test

int main() { return kx3::test::run(); }
