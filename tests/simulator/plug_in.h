// A whole plug-in on the simulated programmer: real drivers, real packets, real libraries.
#pragma once

#include "host/apartment.h"
#include "host/mpu.h"
#include "doorstep/programmer_libraries.h"
#include "simulator/session_host.h"
#include "simulator/temporary_folder.h"
#include "support/test_apartment.h"

#include <numeric>

namespace kx3sim::test {

using Bytes = std::vector<Byte>;

/// Model types that select each twin module, and the one of the session window.
inline constexpr kx3::Integer model32f = 80;
inline constexpr kx3::Integer modelArm = 50;

struct Device {
    kx3::Integer model = model32f;
    Long addresses = 0x1000;
    Byte width = 1;
    Long block = 0x1000;
    Long first = 0;
    Long margin = 0;
    Byte selection = 0x40; ///< 0: the session window's devices
};

#define KX6SIM(name) library.function<decltype(kx6sim_##name)>("kx6sim_" #name)

class PlugIn {
  public:
    explicit PlugIn(const Device &device, Options options = {}) : PlugIn(device, std::move(options), newUi()) {}

    ~PlugIn() { std::filesystem::current_path(home_); }
    PlugIn(const PlugIn &) = delete;
    PlugIn &operator=(const PlugIn &) = delete;

    /// Run one operation; the signal that the plug-in gave.
    Signal run(Byte operation) {
        host.prgresult(0) = 0;
        host.prgresult(1) = operation;
        kx3::storeText(host.MainRtstr, 0, u"");
        kx3::Boolean enabled(true);
        mpu.runMpu6Prg(enabled);
        sim->saveChip();
        return sim->signal();
    }
    [[nodiscard]] Bytes buffer() {
        const auto bytes = host.ibuffer.range(0, imageBytes());
        return {bytes.begin(), bytes.end()};
    }
    void setBuffer(const Bytes &bytes) {
        std::copy(bytes.begin(), bytes.end(), host.ibuffer.range(0, imageBytes()).begin());
    }
    [[nodiscard]] Bytes chip() {
        Bytes bytes(static_cast<std::size_t>(imageBytes()));
        EXPECT_EQ(KX6SIM(peek)(KX6SIM_AREA_MAIN, 0, bytes.data(), bytes.size()), KX6SIM_OK);
        return bytes;
    }
    void flip(std::size_t offset, Byte bit) { EXPECT_EQ(KX6SIM(flip_bit)(KX6SIM_AREA_MAIN, offset, bit), KX6SIM_OK); }
    void setFaults(const char *faults) { EXPECT_EQ(KX6SIM(set_faults)(faults, 1), KX6SIM_OK); }
    [[nodiscard]] std::string log() const { return kx3::toUtf8(kx3::readText(host.MainRtstr, 0)); }
    [[nodiscard]] Long imageBytes() { return host.tlength(0) * host.wordmode(0); }

    // Both libraries are open before the current directory changes.
    kx3::platform::DynamicLibrary library{"kx6io"};
    kx3::platform::DynamicLibrary textLibrary{"kx3io"};
    kx3::sharemap host;
    kx3::test::FakeUi *ui = nullptr;
    std::shared_ptr<SessionHost> sim;
    kx3::Apartment apartment;
    kx3::clsMPU mpu{apartment};

  private:
    static std::unique_ptr<kx3::test::FakeUi> newUi() {
        kx3::test::useOwnNamespace();
        return std::make_unique<kx3::test::FakeUi>();
    }

    PlugIn(const Device &device, Options options, std::unique_ptr<kx3::test::FakeUi> fakeUi)
        : ui(fakeUi.get()), sim(std::make_shared<SessionHost>(std::move(options))),
          apartment({std::make_unique<kx3::ProgrammerLibraries>(), [this] { return sim; }, std::move(fakeUi),
                     std::make_unique<kx3::test::FakeClock>()}),
          home_(std::filesystem::current_path()) {
        for (const char *file : {"algo4/family/device.alg", "algo/family/device.bin"}) {
            std::filesystem::create_directories((folder_ / file).parent_path());
            spill(folder_ / file, std::vector<char>(0x1234, 'a'));
        }
        std::filesystem::current_path(folder_ / ".");
        attach(device);
        ui->onYield = [this] { sim->duringYield(); };
    }

    void attach(const Device &device) {
        host.MapSharedBlocks(1, *ui);
        host.buflength(0) = device.addresses * device.width;
        host.MapDeviceBuffer(host.buflength(0) + kx3::deviceBufferExtra, *ui);
        mpu.bufcommpu6(1);
        kx3::storeText(host.algorithm, 1, u"family");
        kx3::storeText(host.algorithm, 2, u"device");
        kx3::storeText(host.prgnote, 12, u"aborted");
        host.modeltype(0) = device.model;
        host.modeltype(2) = 1;
        host.selmode(0) = device.selection;
        host.wordmode(0) = device.width;
        host.tlength(0) = device.addresses;
        host.ramlg(0) = device.block;
        host.wltbigendbuf(0) = device.first;
        host.wlverifyvcc(0) = device.margin;
        host.wsign(1) = 1;
        host.bvcc(0) = 330;
        sim->setBlocks(hostBlocks(host));
        Bytes image(static_cast<std::size_t>(imageBytes()));
        for (std::size_t i = 0; i < image.size(); ++i)
            image[i] = static_cast<Byte>(((i * 2654435761U) >> 13U) & 0xFEU); // no FF: every byte is programmed
        setBuffer(image);
        for (Byte i = 0; i < 16; ++i)
            host.ibuffer(imageBytes() + i) = static_cast<Byte>(0xC0 + i);
    }

    TemporaryFolder folder_;
    std::filesystem::path home_;
};

#undef KX6SIM

} // namespace kx3sim::test
