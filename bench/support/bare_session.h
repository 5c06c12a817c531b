// A plug-in on outside components that cost next to nothing: what a benchmark measures then is the
// plug-in's own time.
#pragma once

#include "rig/apartment.h"
#include "rig/folder.h"

#include <cstring>
#include <iostream>

namespace kx3::bench {

using test::Device;

/// Takes every packet and moves every transfer at once, between the device's memory and the host's.
class ImmediateProgrammer final : public ProgrammerIo {
  public:
    std::vector<Byte> device;   ///< main memory
    std::size_t blockBytes = 0; ///< bytes of one run

    Integer usbcomwrite(Byte *packet, Long /*count*/) override {
        constexpr Byte algorithmGroup = 0x33, runGroup = 0x34;
        constexpr Byte firstServiceCode = 0x1A; // version query and identity read; run codes are smaller
        constexpr Byte readRun = 2, verifyRun = 6;
        toAlgorithm_ = packet[0] == algorithmGroup;
        if (packet[0] == runGroup && packet[1] < firstServiceCode) {
            const std::size_t block = packet[3] + 256U * packet[4];
            const bool offersData = packet[1] == readRun || packet[1] == verifyRun;
            place_ = (offersData ? block : block + 1) * blockBytes;
        }
        return 0;
    }
    Integer usbbulkwrite(Byte *data, Long count) override {
        std::vector<Byte> &memory = toAlgorithm_ ? algorithm_ : device;
        const std::size_t first = toAlgorithm_ ? 0 : std::min(place_, memory.size());
        const auto bytes = static_cast<std::size_t>(count);
        std::memcpy(memory.data() + first, data, std::min(bytes, memory.size() - first));
        place_ = toAlgorithm_ ? 0 : first + bytes;
        return 0;
    }
    void usbbulkread(Byte *destination, Long count, Byte *state) override {
        const std::size_t first = toAlgorithm_ ? 0 : place_;
        std::memcpy(destination, (toAlgorithm_ ? algorithm_ : device).data() + first, static_cast<std::size_t>(count));
        place_ = toAlgorithm_ ? 0 : first + static_cast<std::size_t>(count);
        *state = 2;
    }
    std::u16string datstr(Long value, Long /*digits*/) override { return hex(value); }

  private:
    std::vector<Byte> algorithm_ = std::vector<Byte>(0x6001);
    std::size_t place_ = 0; ///< of the next transfer in the device
    bool toAlgorithm_ = false;
};

/// A session host that agrees to everything.
class AgreeableSessionHost : public SessionHost {
  public:
#define KX3_OPERATION(name, result, parameters, arguments)                                                             \
    result name parameters override { return static_cast<result>(nothing arguments); }
#include "outside/session_host_operations.inc"

  private:
    template <class... Values> static Long nothing(Values... /*values*/) { return 0; }
};

/// Reports every command as finished, and compares as a host does: a look into its own copy of the buffer,
/// and out of the way on a difference.
class ImmediateSessionHost final : public AgreeableSessionHost {
  public:
    Byte *report = nullptr;         ///< block `ibuf1`
    std::span<const Byte> expected; ///< what a verify compares with
    std::uint64_t differences = 0;

    bool PollStatus(Long /*request*/) override {
        report[0] = 100;
        report[1] = 0;
        report[2] = 1; // firmware version
        return true;
    }
    Long CompareByte(Byte data, Long address, Long /*mode*/) override;
    Long CompareWord(Byte low, Byte high, Long address, Long mode, Long mask) override;
};

/// A plug-in that is attached to its host's blocks, with a device selected.
class BareSession : public test::ApartmentOn<ImmediateProgrammer, ImmediateSessionHost> {
  public:
    explicit BareSession(const Device &device) {
        attach(device);
        sessionHost->report = host.ibuf1.range(0, 20).data();
        sessionHost->expected = data(device.bytes());
        io.device.assign(sessionHost->expected.size(), 0xFF);
        io.blockBytes = static_cast<std::size_t>(device.block) * device.width;
    }
    /// Run operation `number` (2 read, 3 program, 5 verify, 8 erase). Ends the program when the
    /// session does not pass.
    void run(Byte number) {
        ApartmentOn::run(number);
        const std::u16string failure = apartment.report().failure;
        if (failure.empty() && host.prgresult(0) == 0 && sessionHost->differences == 0) return;
        std::cerr << "session failed: " << toUtf8(failure) << '\n';
        std::abort();
    }
};

} // namespace kx3::bench
