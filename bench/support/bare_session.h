// A host thread on outside components that cost next to nothing: what a benchmark measures then is
// the plug-in's own time.
#pragma once

#include "host/apartment.h"
#include "host/mpu.h"

#include <memory>
#include <string>
#include <vector>

namespace kx3::bench {

/// Takes every packet and moves every transfer at once, between the device's memory and the host's.
class ImmediateProgrammer final : public ProgrammerIo {
  public:
    std::vector<Byte> device;   ///< main memory
    std::size_t blockBytes = 0; ///< bytes of one run

    Integer usbcomwrite(Byte *packet, Long count) override;
    Integer usbbulkwrite(Byte *data, Long count) override;
    void usbbulkread(Byte *destination, Long count, Byte *state) override;
    std::u16string datstr(Long value, Long digits) override;

  private:
    std::vector<Byte> algorithm_ = std::vector<Byte>(0x6001);
    std::size_t place_ = 0; ///< of the next transfer in the device
    bool toAlgorithm_ = false;
};

/// Reports every command as finished, and compares with the device buffer.
class ImmediateSessionHost : public SessionHost {
  public:
    Byte *report = nullptr; ///< block `ibuf1`
    Byte firmwareVersion = 1;

    void EndOperation() override {}
    void SetVcc(Long) override {}
    void SetGndPin(Byte, Byte) override {}
    void PowerStep(Long) override {}
    void SignalPass(Long) override {}
    void SignalFail(Long) override {}
    Long StartCheck() override { return 0; }
    void Delay(Long) override {}
    bool PollStatus(Long) override;
    void ReportStartFailure() override {}
    Long PrepareChip(Byte) override { return 0; }
    Long PrepareDevice32f(Byte, Byte) override { return 0; }
    Long PrepareDevice(Byte, Byte) override { return 0; }
    Long CompareWord(Byte low, Byte high, Long address, Long mode, Long mask) override;
    Long CompareByte(Byte data, Long address, Long mode) override;
    void AlgorithmLoaded(Long) override {}

    std::span<const Byte> expected; ///< what a verify compares with
    std::uint64_t differences = 0;
};

/// A device as the benchmarks drive it.
struct Device {
    Integer modelType; ///< 80: module arm_prg_32f, 60: module arm_prg
    Long addresses;
    Byte bytesPerAddress;
    Long blockAddresses;

    [[nodiscard]] std::size_t bytes() const { return static_cast<std::size_t>(addresses) * bytesPerAddress; }
};

/// A plug-in that is attached to its host's blocks, with a device selected.
class BareSession {
  public:
    explicit BareSession(const Device &device);

    /// Run operation `number` (2 read, 3 program, 5 verify, 8 erase). Ends the program when the
    /// session does not pass.
    void run(Byte number);

    sharemap host; ///< the host's own view of the blocks
    ImmediateProgrammer *programmer = nullptr;
    std::shared_ptr<ImmediateSessionHost> sessionHost = std::make_shared<ImmediateSessionHost>();

  private:
    Outside outside();

    Apartment apartment_;
    clsMPU mpu_{apartment_};
};

/// Blocks of a benchmark meet no other host's; the current directory gets algorithm images.
void prepareSurroundings();

} // namespace kx3::bench
