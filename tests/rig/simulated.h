// A whole plug-in on the simulated programmer: real drivers, real packets, real libraries. Link kx6io.
#pragma once

#include "doorstep/programmer_libraries.h"
#include "rig/apartment.h"
#include "rig/folder.h"
#include "simulator/session_host.h"

namespace kx3::test {

/// A host with a device and its image, and the programmer with that device's chip.
class PlugIn : public Workplace, public ApartmentOn<ProgrammerLibraries, kx3sim::SessionHost> {
  public:
    explicit PlugIn(const Device &device, kx3sim::Options options = {})
        : ApartmentOn(std::make_shared<kx3sim::SessionHost>(std::move(options))) {
        attach(device);
        storeText(host.prgnote, 12, u"aborted");
        host.bvcc(0) = 330;
        sim->setBlocks(kx3sim::hostBlocks(host));
        for (Byte i = 0; i < 16; ++i)
            host.ibuffer(device.bytes() + i) = static_cast<Byte>(0xC0 + i);
        ui->onYield = [this] { sim->duringYield(); };
    }

    /// Run one operation; the signal that the plug-in gave.
    kx3sim::Signal run(Byte operation) {
        ApartmentOn::run(operation);
        sim->saveChip();
        return sim->signal();
    }
    [[nodiscard]] Long imageBytes() { return host.tlength(0) * host.wordmode(0); }
    [[nodiscard]] Bytes buffer() { return ApartmentOn::buffer(imageBytes()); }
    [[nodiscard]] Bytes chip() {
        Bytes bytes(static_cast<std::size_t>(imageBytes()));
        (void)kx6sim_peek(KX6SIM_AREA_MAIN, 0, bytes.data(), bytes.size());
        return bytes;
    }

    kx3sim::SessionHost *sim = sessionHost.get();
};

} // namespace kx3::test
