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

using Clock = std::chrono::steady_clock;
using Nanoseconds = std::chrono::duration<double, std::nano>;
constexpr std::size_t runs = 9;

double median(std::array<double, runs> &times) {
    std::nth_element(times.begin(), times.begin() + runs / 2, times.end());
    return times[runs / 2];
}

/// Median of the time of one round, in nanoseconds. What `undo` does between rounds does not count.
template <class Body, class Undo> double measure(int rounds, Body body, Undo undo) {
    std::array<double, runs> times{};
    for (double &time : times) {
        Nanoseconds spent{};
        for (int i = 0; i < rounds; ++i) {
            const auto start = Clock::now();
            body();
            spent += Clock::now() - start;
            undo();
        }
        time = spent.count() / rounds;
    }
    return median(times);
}

/// The same for a body too short for the clock.
template <class Body> double measure(int rounds, Body body) {
    return measure(
               1,
               [&] {
                   for (int i = 0; i < rounds; ++i)
                       body();
               },
               [] {}) /
           rounds;
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
    const double attach = measure(
        20, [&] { mpu->bufcommpu6(&instance); },
        [&] {
            mpu->freesharebuffermpu6();
            (void)plugin.create(); // whose end releases the main blocks
        });
    std::printf("%-52s %9.3f ms\n", "attach 62 existing blocks", attach / 1e6);

    std::vector<std::string> names{blockName(deviceBufferRow), blockName(deviceBuffer66Row)};
    for (const BlockRow &row : blockTable)
        names.push_back(blockName(row, instance));
    std::vector<platform::UniqueHandle> handles;
    std::vector<void *> views;
    const double bare = measure(
        20,
        [&] {
            for (const std::string &name : names) {
                handles.emplace_back(::OpenFileMappingA(FILE_MAP_ALL_ACCESS, FALSE, name.c_str()));
                views.push_back(::MapViewOfFile(handles.back().get(), FILE_MAP_ALL_ACCESS, 0, 0, 0));
                MEMORY_BASIC_INFORMATION region{};
                ::VirtualQuery(views.back(), &region, sizeof region);
            }
        },
        [&] {
            for (void *view : views)
                ::UnmapViewOfFile(view);
            views.clear();
            handles.clear();
        });
    std::printf("%-52s %9.3f ms\n", "the same with the bare system calls", bare / 1e6);
    return 0;
}

} // namespace
} // namespace kx3::test

int main() { return kx3::test::run(); }
