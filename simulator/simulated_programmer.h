// The programmer hardware: takes the plug-in's packets, works on the chip, answers with reports.
#pragma once

#include "simulator/chip.h"
#include "simulator/device.h"
#include "simulator/faults.h"
#include "simulator/protocol.h"
#include "simulator/run.h"

#include <optional>
#include <span>
#include <string>

namespace kx3sim {

/// One programmer with one socket. It enforces the rules of the protocol: a packet of the wrong
/// length, data that nobody announced, blocks out of order or short of data never end in a passed
/// operation.
class SimulatedProgrammer {
  public:
    // The socket.
    void insert(Chip chip);
    /// Throws Failure when the socket is empty.
    [[nodiscard]] Chip &chip();
    /// The same for a change of its contents.
    Chip &changedChip();
    [[nodiscard]] const std::optional<Chip> &socket() const noexcept { return chip_; }
    /// Program main memory by the rules of flash, with the bit flips that are ordered. The offset of
    /// the first byte that cannot become what is wanted.
    [[nodiscard]] std::optional<std::size_t> programMain(std::size_t offset, std::span<const Byte> wanted);

    // Settings.
    void setFirmwareVersion(Byte version) noexcept { firmwareVersion_ = version; }
    void setFaults(FaultPlan plan);

    // The session.
    /// False when the session must not start.
    [[nodiscard]] bool startCheck() noexcept;
    /// Select and power a device; throws Failure when the chip in the socket is another one.
    void prepare(const Device &device);
    void endOperation() noexcept { forgetCommand(); }
    void advance() noexcept;
    /// False when no report comes. Every report comes once; after the one that ends a command,
    /// finished or not, there is none until the next command.
    [[nodiscard]] bool fetchReport(protocol::Report &report);

    // The transfers. Writes return the library's status.
    [[nodiscard]] Integer comWrite(std::span<const Byte> packet);
    [[nodiscard]] Integer bulkWrite(std::span<const Byte> data);
    void bulkRead(std::span<Byte> destination, Byte *state);

    [[nodiscard]] kx6sim_counters counters() const noexcept;
    /// What the programmer objected to last.
    [[nodiscard]] const std::string &trouble() const noexcept { return trouble_; }

  private:
    enum class Channel : std::uint8_t { none, algorithm, data };

    /// What bulk reads get: the algorithm image, or the device data that a read run offers.
    struct ReadWindow {
        Channel source = Channel::none; ///< what the newest request asked for
        DataRange offered;
        std::size_t fetched = 0;
        unsigned chunks = 0; ///< fetched so far
    };
    struct PendingRead {
        std::span<Byte> destination;
        Byte *state;
        std::uint64_t steps;
        bool fails;
    };
    /// The bytes of one address; a byte device's second one is 0.
    using Data = std::array<Byte, 2>;
    /// Why a stage failed.
    struct StageFailure {
        protocol::Event event = protocol::Event::compareError;
        std::uint32_t address = 0;
        Data device{};
        Data buffer{};
    };
    using StageResult = std::optional<StageFailure>;

    // Packets.
    Integer executeAlgorithm(std::span<const Byte> packet);
    Integer executeData(std::span<const Byte> packet);
    Integer announceData(std::span<const Byte> packet);
    Integer requestData(std::span<const Byte> packet);
    Integer executeControl(std::span<const Byte> packet);
    Integer startRun(std::span<const Byte> packet);
    Integer startService(Work work);
    Integer reject(std::string why);
    void forgetCommand() noexcept;
    void closeWindow() noexcept;

    // Runs.
    [[nodiscard]] std::string objectionTo(const Run &run, std::span<const Byte> packet) const;
    void completeRead(std::span<Byte> destination, Byte *state, bool corrupt);
    [[nodiscard]] bool deliver(std::span<Byte> destination);

    // Reports.
    void endRun() noexcept;
    void failRun(const StageFailure &failure, protocol::Report &report);
    void completeStage(protocol::Report &report);
    void fillFinalReport(protocol::Report &report);
    [[nodiscard]] StageFailure failureOf(const Fault &fault) const;

    // Stages (programmer_stages.cpp).
    [[nodiscard]] StageResult perform(Work work);
    void erase();
    [[nodiscard]] StageResult blankCheck();
    [[nodiscard]] StageResult program();
    [[nodiscard]] StageResult checkConfiguration();
    [[nodiscard]] StageResult compareStaged(const DataRange &range);
    /// The failure at byte `offset` of main memory; `wanted`, when there is any, begins at `base`.
    [[nodiscard]] StageFailure differenceAt(std::size_t offset, std::span<const Byte> wanted, std::size_t base) const;
    /// A failure that is not the contents' of the chip; device data are shown where there are any.
    [[nodiscard]] StageFailure refusal(protocol::Event event, std::uint32_t address) const;
    /// The bytes of the address that begins at `offset`; what the chip does not have is 0.
    [[nodiscard]] Data dataAt(std::size_t offset) const;

    std::optional<Chip> chip_;
    std::optional<Device> device_;
    Byte firmwareVersion_ = 1;
    FaultPlan faults_;

    std::vector<Byte> algorithm_;
    Channel writeChannel_ = Channel::none; ///< where the next bulk write goes
    std::vector<Byte> staged_;             ///< data since the newest announcement
    Byte stagedBank_ = 0;

    std::optional<Run> run_;
    std::uint32_t nextBlock_ = 0;
    bool stopRequested_ = false;
    ReadWindow window_;
    std::optional<PendingRead> pending_;

    kx6sim_counters counters_{};
    std::string trouble_;
};

} // namespace kx3sim
