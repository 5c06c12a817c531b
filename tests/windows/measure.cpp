// Times of the door as a host sees them; prints a table. Usage: windows_measure
//
// Each figure is the median of several runs, every one of which loops long enough for the clock.

#include "rig/apartment.h"
#include "windows/host.h"

#include <algorithm>
#include <chrono>
#include <cstdio>

namespace kx3::test {
namespace {

using Clock = std::chrono::steady_clock;
using Nanoseconds = std::chrono::duration<double, std::nano>;

/// Print the median of the time of one round. What `undo` does between the runs does not count.
template <class Body, class Undo> void measure(const char *what, int rounds, Body body, Undo undo) {
    std::array<double, 9> times{};
    for (double &time : times) {
        const auto start = Clock::now();
        for (int i = 0; i < rounds; ++i)
            body();
        time = Nanoseconds(Clock::now() - start).count() / rounds;
        undo();
    }
    std::sort(times.begin(), times.end());
    std::printf("%-52s %11.1f ns\n", what, times[times.size() / 2]);
}

int run() {
    const ComThread com;
    const LoadedPlugin plugin;
    const auto mpu = plugin.create();
    if (!mpu) return std::puts("kx3mpu6.dll cannot be used"), 1;
    FakeUi ui;
    sharemap host;
    host.MapSharedBlocks(21, ui);
    host.buflength(0) = 262144;
    host.MapDeviceBuffer(262144 + deviceBufferExtra, ui);

    LONG value = 0;
    const auto nothing = [] {};
    measure(
        "read a property through the interface", 1000000, [&] { mpu->get_buflg(&value); }, nothing);
    DISPPARAMS none{};
    com::OwnedVariant result;
    const auto late = [&] {
        mpu->Invoke(0x40030000, IID_NULL, 0, DISPATCH_PROPERTYGET, &none, result.get(), nullptr, nullptr);
    };
    measure("read a property late-bound", 200000, late, nothing);
    SHORT instance = 21;
    const auto release = [&] {
        mpu->freesharebuffermpu6();
        (void)plugin.create(); // whose end releases the main blocks
    };
    measure(
        "attach 62 existing blocks", 1, [&] { mpu->bufcommpu6(&instance); }, release);

    std::vector<std::string> names{blockName(deviceBufferRow), blockName(deviceBuffer66Row)};
    for (const BlockRow &row : blockTable)
        names.push_back(blockName(row, instance));
    std::vector<std::unique_ptr<HostBlock>> blocks;
    const auto attachBare = [&] {
        for (const std::string &name : names)
            blocks.push_back(std::make_unique<HostBlock>(name, 40));
    };
    measure("the same with the bare system calls", 1, attachBare, [&] { blocks.clear(); });
    return 0;
}

} // namespace
} // namespace kx3::test

int main() { return kx3::test::run(); }
