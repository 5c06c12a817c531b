// The engine's own time, each figure beside the bare work that it cannot do without.

#include "support/bare_session.h"
#include "support/paired.h"

#include "forms/form.h"

#include <array>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kx3::bench {
namespace {

constexpr Byte readOperation = 2;
constexpr Byte programOperation = 3;
constexpr Byte verifyOperation = 5;
constexpr Byte eraseOperation = 8;

constexpr Long kibi = 1024;
constexpr Long byteBlock = 0xC000; // one chunk of module arm_prg_32f
constexpr Long wordBlock = 0x6000; // the same in words
constexpr Long armByteBlock = 0x10000;

Device byteDevice(Long kibibytes) { return {.addresses = kibibytes * kibi, .block = byteBlock}; }
Device wordDevice(Long kibibytes) { return {.width = 2, .addresses = kibibytes * kibi / 2, .block = wordBlock}; }
Device armByteDevice(Long kibibytes) {
    return {.addresses = kibibytes * kibi, .block = armByteBlock, .model = test::modelArm};
}

using DeviceOfSize = Device (*)(Long);

void reportBytes(benchmark::State &state, std::size_t bytes, double seconds) {
    state.counters["ns/byte"] = seconds * 1e9 / static_cast<double>(bytes);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(bytes));
}

/// Program or read: beside one memcpy of the same bytes.
void transfer(benchmark::State &state, DeviceOfSize deviceOfSize, Byte operation) {
    const Device device = deviceOfSize(static_cast<Long>(state.range(0)));
    BareSession session(device);
    const std::span<Byte> buffer = session.data(device.bytes());
    const double seconds = measurePair(
        state, [&] { session.run(operation); },
        [&] {
            std::memcpy(session.io.device.data(), buffer.data(), buffer.size());
            benchmark::ClobberMemory();
        });
    reportBytes(state, static_cast<std::size_t>(device.bytes()), seconds);
}

/// The bare loop of a verify: one virtual call per byte or word, which the compiler cannot see through.
[[gnu::noinline]] void compareAll(SessionHost &host, std::span<const Byte> data, Byte bytesPerAddress) {
    if (bytesPerAddress == 1) {
        for (std::size_t i = 0; i < data.size(); ++i)
            if (host.CompareByte(data[i], static_cast<Long>(i), 3) == 1) return;
        return;
    }
    for (std::size_t i = 0; i + 1 < data.size(); i += 2)
        if (host.CompareWord(data[i], data[i + 1], static_cast<Long>(i / 2), 3, 0xFF) == 1) return;
}

void verify(benchmark::State &state, DeviceOfSize deviceOfSize) {
    const Device device = deviceOfSize(static_cast<Long>(state.range(0)));
    BareSession session(device);
    session.run(programOperation);
    SessionHost *host = session.sessionHost.get();
    const double seconds = measurePair(
        state, [&] { session.run(verifyOperation); },
        [&] {
            benchmark::DoNotOptimize(host);
            compareAll(*host, session.io.device, device.width);
        });
    reportBytes(state, static_cast<std::size_t>(device.bytes()), seconds);
}

/// 24 KiB algorithm sent, read back and compared, one run command.
void emptySession(benchmark::State &state) {
    BareSession session(byteDevice(256));
    for (auto _ : state)
        session.run(eraseOperation);
}

std::vector<std::string> blockPaths(Integer instance) {
    std::vector<std::string> paths;
    for (const BlockRow &row : blockTable)
        paths.push_back(test::blockFile(blockName(row, instance)));
    for (const BlockRow &row : {deviceBufferRow, deviceBuffer66Row})
        paths.push_back(test::blockFile(blockName(row)));
    return paths;
}

/// What no attach to a file can do without.
void mapAndUnmap(const std::string &path) {
    const int file = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
    struct stat status {};
    if (file < 0 || ::fstat(file, &status) != 0) std::abort();
    const auto size = static_cast<std::size_t>(status.st_size);
    void *view = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    ::close(file);
    ::munmap(view, size);
}

/// A host that has created all blocks of an instance.
struct Host {
    Host(Integer instance, Long deviceBytes) {
        blocks.MapSharedBlocks(instance, ui);
        blocks.MapDeviceBuffer(deviceBytes, ui);
    }
    test::FakeUi ui;
    sharemap blocks;
};

/// The same in a process of its own, as long as the object lives.
class ForeignHost {
  public:
    ForeignHost(Integer instance, Long deviceBytes) {
        if (::socketpair(AF_UNIX, SOCK_STREAM, 0, ends_.data()) != 0 || (process_ = ::fork()) < 0) std::abort();
        char byte = 0;
        if (process_ == 0) {
            ::close(ends_[0]);
            {
                const Host host(instance, deviceBytes);
                while (::write(ends_[1], &byte, 1) == 1 && ::read(ends_[1], &byte, 1) > 0) {
                }
            }
            ::_exit(0);
        }
        if (::read(ends_[0], &byte, 1) != 1) std::abort();
    }
    ~ForeignHost() {
        ::close(ends_[0]);
        ::close(ends_[1]);
        ::waitpid(process_, nullptr, 0);
    }
    ForeignHost(const ForeignHost &) = delete;
    ForeignHost &operator=(const ForeignHost &) = delete;

  private:
    std::array<int, 2> ends_{};
    pid_t process_ = 0;
};

template <class BlockOwner> void attachAndRelease(benchmark::State &state) {
    constexpr Integer instance = 7;
    constexpr Long deviceBytes = 256 * kibi + deviceBufferExtra;
    const BlockOwner owner(instance, deviceBytes);
    const std::vector<std::string> paths = blockPaths(instance);
    test::FakeUi ui;
    sharemap plugin;
    measurePair(
        state,
        [&] {
            plugin.MapSharedBlocks(instance, ui);
            plugin.MapDeviceBuffer(deviceBytes, ui);
            plugin.UnmapDeviceBuffer();
            plugin.UnmapSharedBlocks();
        },
        [&] {
            for (const std::string &path : paths)
                mapAndUnmap(path);
        });
    if (!ui.boxes.empty()) std::abort(); // a block was missing
}

/// Sum of 64 KiB through the bounds-tested array and through a plain pointer.
void elementAccess(benchmark::State &state) {
    BareSession session(byteDevice(256));
    constexpr Long count = 64 * kibi;
    const Array<Byte> &array = session.host.ibuf2;
    const Byte *plain = session.host.ibuf2.range(0, count).data();
    measurePair(
        state,
        [&] {
            std::uint32_t sum = 0;
            for (Long i = 0; i < count; ++i)
                benchmark::DoNotOptimize(sum += array(i));
        },
        [&] {
            std::uint32_t sum = 0;
            for (Long i = 0; i < count; ++i)
                benchmark::DoNotOptimize(sum += plain[i]);
        });
}

/// Open an editor, change its first list or box, press OK.
void changeOneField(Form &form) {
    for (const Control &control : form.controls()) {
        if (!form.isShown(control) || !form.isEnabled(control)) continue;
        if (control.kind() == ControlKind::comboBox && form.choose(control, control.listIndex() == 0 ? 1 : 0)) break;
        if (control.kind() == ControlKind::checkBox && form.click(control)) break;
        if (control.kind() == ControlKind::textBox && form.type(control, u"0")) break;
    }
    form.click(*form.defaultButton());
    if (form.loaded()) std::abort();
}

/// The first mode of each editor.
#define KX3_EDITOR(name, mode, ...) Byte{mode},
constexpr auto editorModes = std::to_array({
#include "editors/editor_list.inc"
});
#undef KX3_EDITOR

void editors(benchmark::State &state) {
    BareSession session(byteDevice(256));
    session.ui->onModal = changeOneField;
    session.host.tlength(0) = 0x10000;
    std::array<std::vector<double>, editorModes.size()> times;
    for (auto _ : state) {
        double all = 0;
        for (std::size_t i = 0; i < editorModes.size(); ++i) {
            session.host.prgmode(0) = editorModes[i];
            times[i].push_back(secondsOf([&] { session.mpu.editfigmpu6(); }));
            all += times[i].back();
        }
        state.SetIterationTime(all);
    }
    double slowest = 0;
    for (const std::vector<double> &one : times)
        slowest = std::max(slowest, median(one));
    state.counters["slowest_us"] = slowest * 1e6;
}

void inMicroseconds(benchmark::internal::Benchmark *benchmark) {
    benchmark->UseManualTime()->Unit(benchmark::kMicrosecond);
}

/// Device sizes in KiB.
void transferSizes(benchmark::internal::Benchmark *benchmark) {
    for (const Long kibibytes : {256, 1024, 8192})
        benchmark->Arg(kibibytes);
    inMicroseconds(benchmark);
}
void growingSizes(benchmark::internal::Benchmark *benchmark) {
    for (const Long kibibytes : {64, 256, 1024, 8192, 65536})
        benchmark->Arg(kibibytes);
    inMicroseconds(benchmark);
}

BENCHMARK_CAPTURE(transfer, program_byte, byteDevice, programOperation)->Apply(growingSizes);
BENCHMARK_CAPTURE(transfer, program_word, wordDevice, programOperation)->Apply(transferSizes);
BENCHMARK_CAPTURE(transfer, program_arm_prg, armByteDevice, programOperation)->Apply(transferSizes);
BENCHMARK_CAPTURE(transfer, read_byte, byteDevice, readOperation)->Apply(transferSizes);
BENCHMARK_CAPTURE(transfer, read_word, wordDevice, readOperation)->Apply(transferSizes);
BENCHMARK_CAPTURE(verify, byte, byteDevice)->Apply(growingSizes);
BENCHMARK_CAPTURE(verify, word, wordDevice)->Apply(growingSizes);
BENCHMARK(emptySession)->Unit(benchmark::kMicrosecond);
BENCHMARK_TEMPLATE(attachAndRelease, Host)->Apply(inMicroseconds);
BENCHMARK_TEMPLATE(attachAndRelease, ForeignHost)->Apply(inMicroseconds);
BENCHMARK(elementAccess)->Apply(inMicroseconds);
BENCHMARK(editors)->Apply(inMicroseconds);

} // namespace
} // namespace kx3::bench

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    kx3::test::useOwnNamespace();
    const kx3::test::Workplace workplace(0x6000);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
