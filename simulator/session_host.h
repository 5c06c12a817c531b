// The host suite's session object on the simulated programmer.
#pragma once

#include "outside/session_host.h"
#include "simulator/kx6sim.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kx3sim {

using kx3::Byte;
using kx3::ByteResult;
using kx3::Double;
using kx3::Long;

namespace protocol {
enum class Operation : Byte;
}

/// The shared blocks that the session host reads and writes, in place. All must stay valid while
/// the session host is used; hand over a new set whenever they are attached anew.
struct HostBlocks {
    std::span<Byte> ibuf1;                ///< 20 bytes: latest status report
    std::span<Byte> ibuffer;              ///< the device buffer with its extra bytes
    std::span<Byte> prgresult;            ///< 0: result code, 1: operation
    std::span<const Byte> prgmode;        ///< 0: device family
    std::span<const Byte> wordmode;       ///< 0: bytes per address
    std::span<const Byte> rambknum;       ///< 0: bank
    std::span<const Long> tlength;        ///< 0: device size in addresses
    std::span<const Long> ramlg;          ///< 0: block size in addresses
    std::span<const Long> wlverifyvcc;    ///< 0: verify margin
    std::span<const Double> wltbigendbuf; ///< 0: first address, 2: offset in ibuffer
    /// Append `text` to `MainRtstr`(index).
    std::function<void(Long index, std::u16string_view text)> appendText;
};

/// All of the above from an object that has the shared blocks as members of their names. Raises the
/// subscript error when a block is not attached.
template <class Blocks> [[nodiscard]] HostBlocks hostBlocks(Blocks &blocks) {
    const auto whole = [](auto &array) { return array.range(0, static_cast<Long>(array.count())); };
    return {.ibuf1 = blocks.ibuf1.range(0, KX6SIM_REPORT_BYTES),
            .ibuffer = whole(blocks.ibuffer),
            .prgresult = blocks.prgresult.range(0, 2),
            .prgmode = whole(blocks.prgmode),
            .wordmode = whole(blocks.wordmode),
            .rambknum = whole(blocks.rambknum),
            .tlength = whole(blocks.tlength),
            .ramlg = whole(blocks.ramlg),
            .wlverifyvcc = whole(blocks.wlverifyvcc),
            .wltbigendbuf = whole(blocks.wltbigendbuf),
            .appendText = [&blocks](Long index, std::u16string_view text) {
                storeText(blocks.MainRtstr, index, readText(blocks.MainRtstr, index).append(text));
            }};
}

/// How the simulated programmer and its chip behave.
struct Options {
    /// Chip that outlives the process: read when a device is prepared (created when missing),
    /// written at the end of each operation that changed it. Without it the chip lives in memory.
    std::optional<std::filesystem::path> chipFile = std::nullopt;
    Byte maker = 0;                   ///< identity of a chip that is created
    std::vector<Byte> deviceCodes{0}; ///< 1 to 7 bytes
    Byte firmwareVersion = 1;
    std::string faults = {}; ///< see simulator/README.md
    std::uint64_t seed = 0;
    Long eepromBytes = 0; ///< EEPROM of a non-ARM device
};

/// What verify comparisons since the last start have found.
struct Mismatches {
    std::uint64_t bytes = 0; ///< bytes that differ
    Long firstAddress = 0;   ///< buffer address of the first one
    Byte firstDevice = 0;
    Byte firstBuffer = 0;
    std::uint64_t zeroInsteadOfOne = 0; ///< device bits that are 0 where the buffer has 1
    std::uint64_t oneInsteadOfZero = 0;
    std::uint64_t comparisons = 0; ///< that found a difference: of a byte, or of a word of two bytes
};

/// How the newest operation ended, by the signal that the plug-in gave.
enum class Signal { none, pass, fail, startFailure };

/// Configuration bytes (fuses, lock bits, ...) of a non-ARM device: in the buffer they stand right
/// behind the bytes of main memory.
inline constexpr Long pinDrivenConfigurationBytes = 16;

/// Session host object on the programmer of library kx6io, the same one that the plug-in drives.
/// Making one switches the process's programmer on: its socket is empty, earlier faults are gone.
///
/// The owner clears `prgresult`(0) before an operation, calls `duringYield` in every yield, and
/// `saveChip` after an operation that ended without `EndOperation`.
class SessionHost final : public kx3::SessionHost {
  public:
    /// Raises an error that names the bad item when `options.faults` is malformed.
    explicit SessionHost(Options options);

    /// Use these blocks from now on. Before the first call every operation raises "object not set".
    void setBlocks(HostBlocks blocks);

#define KX3_OPERATION(name, result, parameters, arguments) result name parameters override;
#include "outside/session_host_operations.inc"

    // What the owner uses besides.

    /// One step of the programmer's time: bulk reads that are pending come nearer to their end.
    void duringYield();
    /// Carry out an operation that the session window has announced, on a non-ARM chip: the result
    /// code goes into `prgresult`(0), mismatch texts of operation 5 into `MainRtstr`(1).
    void carryOut(Long operation);
    /// Write the chip file when the chip has changed. Raises an error when that fails.
    void saveChip();

    [[nodiscard]] const Mismatches &mismatches() const noexcept { return mismatches_; }
    [[nodiscard]] Signal signal() const noexcept { return signal_; }
    /// Why the newest preparation was refused, or what the programmer objected to; empty if nothing.
    [[nodiscard]] std::string trouble() const;

  private:
    [[nodiscard]] HostBlocks &blocks();
    void append(Long index, std::u16string_view text);

    [[nodiscard]] Long prepare(std::uint8_t module);
    [[nodiscard]] kx6sim_status insertChip(const kx6sim_geometry &geometry);
    void powerDown() noexcept;
    void failWhenDataWereLeft();

    [[nodiscard]] Byte bufferByte(std::int64_t place) const;
    void noteDifference(Long address, std::int64_t place, std::span<const Byte> device, Byte mask);
    void countDifference(Byte device, Byte buffer, std::int64_t place);

    // Work on a pin-driven chip; false when it failed.
    /// The part of the buffer that belongs to an area of the chip: main memory stands first, then the
    /// configuration bytes, then the EEPROM.
    [[nodiscard]] std::span<Byte> partOf(std::int32_t area);
    [[nodiscard]] bool program(std::int32_t area);
    [[nodiscard]] bool read(std::int32_t area);
    [[nodiscard]] bool verify(std::int32_t area);
    [[nodiscard]] bool programData();
    [[nodiscard]] bool verifyData();
    [[nodiscard]] bool programConfiguration();
    [[nodiscard]] bool perform(protocol::Operation operation);

    Options options_;
    HostBlocks blocks_;
    const Byte *buffer_ = nullptr; ///< ibuffer, for the compare calls
    std::size_t bufferBytes_ = 0;
    Mismatches mismatches_;
    Long mismatchText_ = 1; ///< element of MainRtstr that mismatch lines go to
    Signal signal_ = Signal::none;
    std::string refusal_;
    Long millivolts_ = 0;
    bool pinDriven_ = false; ///< a non-ARM chip is prepared
    bool powered_ = false;   ///< and has its supply
};

} // namespace kx3sim
