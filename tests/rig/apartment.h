// One host thread's plug-in on an outside of the test's, and the host's own view of the shared blocks.
#pragma once

#include "host/apartment.h"
#include "host/mpu.h"
#include "rig/fakes.h"
#include "rig/own_blocks.h"

#include <algorithm>

namespace kx3::test {

/// Models that select each driver: by them alone, or with `Device::selection`.
inline constexpr Integer model32f = 80;
inline constexpr Integer modelArm = 50;

/// A device as the host describes it in the shared blocks.
struct Device {
    Byte width = 1; ///< bytes per address
    Long addresses = 0x100;
    Long block = 0x100; ///< addresses of one run
    Double first = 0;
    Double dataOffset = 0;
    Byte bank = 0;
    Long margin = 0;
    Byte family = 0;
    Integer model = model32f;
    Byte selection = 0x40; ///< 0: driven by the session window

    [[nodiscard]] Long bytes() const { return addresses * width; }
};

/// Data without an FF, so that every byte of them is programmed.
inline Bytes sampleImage(std::size_t count) {
    Bytes image(count);
    for (std::size_t i = 0; i < count; ++i)
        image[i] = static_cast<Byte>(((i * 2654435761U) >> 13U) & 0xFEU);
    return image;
}

/// A plug-in on outside components of these types. `host` is the host's own view of the blocks: it holds
/// them open, sets values before an operation and reads the results.
template <class Io, class Host, class Window = FakeUi, class Time = FakeClock> class ApartmentOn {
  public:
    explicit ApartmentOn(std::shared_ptr<Host> itsSessionHost = std::make_shared<Host>(),
                         std::unique_ptr<Io> itsIo = std::make_unique<Io>(),
                         std::unique_ptr<Window> itsUi = std::make_unique<Window>(),
                         std::unique_ptr<Time> itsClock = std::make_unique<Time>())
        : io(*itsIo), sessionHost(std::move(itsSessionHost)), ui(itsUi.get()), clock(itsClock.get()),
          apartment({std::move(itsIo), [this] { return sessionHost; }, std::move(itsUi), std::move(itsClock)}) {
        useOwnNamespace();
    }

    /// Create all blocks as a host does, with `buflength`(0) = `bufferLength`, and attach the
    /// plug-in to them.
    void attach(Long bufferLength, Integer instance = 1) {
        host.MapSharedBlocks(instance, *ui);
        host.buflength(0) = bufferLength;
        host.MapDeviceBuffer(bufferLength + deviceBufferExtra, *ui);
        mpu.bufcommpu6(instance);
    }
    void describe(const Device &device) {
        host.modeltype(0) = device.model;
        host.selmode(0) = device.selection;
        host.wordmode(0) = device.width;
        host.tlength(0) = device.addresses;
        host.ramlg(0) = device.block;
        host.wltbigendbuf(0) = device.first;
        host.wltbigendbuf(2) = device.dataOffset;
        host.rambknum(0) = device.bank;
        host.wlverifyvcc(0) = device.margin;
        host.prgmode(0) = device.family;
    }
    /// Attach to a host with this device, whose algorithm files are those of a Workplace.
    void attach(const Device &device) {
        attach(device.bytes());
        describe(device);
        storeText(host.algorithm, 1, u"family");
        storeText(host.algorithm, 2, u"device");
        host.modeltype(2) = 1;
        host.wsign(1) = 1;
        setBuffer(sampleImage(host.ibuffer.count()));
    }
    /// Run `operation` as a host asks for it, with an empty log.
    void run(Byte operation) {
        host.prgresult(0) = 0;
        host.prgresult(1) = operation;
        storeText(host.MainRtstr, 0, {});
        Boolean enabled(true);
        mpu.runMpu6Prg(enabled);
    }
    [[nodiscard]] std::string log() const { return toUtf8(readText(host.MainRtstr, 0)); }

    /// The first `count` bytes of the device buffer, in place; without a count all.
    [[nodiscard]] std::span<Byte> data(Long count = -1) {
        return host.ibuffer.range(0, count < 0 ? static_cast<Long>(host.ibuffer.count()) : count);
    }
    [[nodiscard]] Bytes buffer(Long count = -1) {
        const std::span<Byte> all = data(count);
        return {all.begin(), all.end()};
    }
    void setBuffer(const Bytes &bytes) { std::ranges::copy(bytes, data().begin()); }

    Io &io;
    std::shared_ptr<Host> sessionHost;
    Window *ui;
    Time *clock;
    sharemap host;
    Apartment apartment;
    clsMPU mpu{apartment};
};

using TestApartment = ApartmentOn<FakeProgrammerIo, FakeSessionHost>;

} // namespace kx3::test
