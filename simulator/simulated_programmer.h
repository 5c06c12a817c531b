// The programmer hardware: takes the plug-in's packets, works on the chip, answers with reports.
#pragma once

#include "simulator/chip.h"
#include "simulator/faults.h"
#include "simulator/geometry.h"
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
    [[nodiscard]] const std::optional<Chip> &socket() const noexcept { return chip_; }

    // Settings.
    void setFirmwareVersion(Byte version) noexcept { firmwareVersion_ = version; }
    void setFaults(FaultPlan plan);
    [[nodiscard]] FaultPlan &faults() noexcept { return faults_; }

    // The session.
    /// False when the session must not start.
    [[nodiscard]] bool startCheck() noexcept;
    /// Select and power a device; throws Failure when the chip in the socket is another one.
    void prepare(const kx6sim_geometry &geometry);
    void endOperation() noexcept;
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
    /// Program main memory by the rules of flash, with the bit flips that are ordered. The offset of
    /// the first byte that cannot become what is wanted.
    [[nodiscard]] std::optional<std::size_t> programMain(std::size_t offset, std::span<const Byte> wanted);

  private:
    enum class Channel : std::uint8_t { none, algorithm, data };

    /// Device data or the algorithm image on their way to the host.
    struct ReadWindow {
        Channel source = Channel::none; ///< what the newest request asked for
        std::size_t offset = 0;         ///< of the block in main memory
        std::size_t count = 0;
        std::size_t fetched = 0;
        unsigned chunks = 0; ///< fetched so far
    };
    struct PendingRead {
        std::span<Byte> destination;
        Byte *state = nullptr;
        std::uint64_t steps = 0;
        bool fails = false;
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
    Integer execute(std::span<const Byte> packet);
    Integer executeAlgorithm(std::span<const Byte> packet);
    Integer executeData(std::span<const Byte> packet);
    Integer announceData(std::span<const Byte> packet);
    Integer requestData(std::span<const Byte> packet);
    Integer executeControl(std::span<const Byte> packet);
    Integer executeStop(std::span<const Byte> packet);
    Integer startRun(std::span<const Byte> packet);
    Integer startIdentityRead(std::span<const Byte> packet);
    Integer reject(std::string why);
    void forgetCommand() noexcept;
    void closeWindow() noexcept;

    // Runs.
    [[nodiscard]] std::string objectionTo(const Run &run, std::span<const Byte> packet) const;
    [[nodiscard]] std::string objectionToData(const Run &run) const;
    [[nodiscard]] std::size_t stagedBytesNeeded(const Run &run) const;
    [[nodiscard]] Run makeRun(protocol::Operation operation, std::span<const Byte> packet);
    /// A chip without an algorithm of its own: a report is always its identity.
    [[nodiscard]] bool isPinDriven() const noexcept;
    void finishRun() noexcept;
    void stepRun(protocol::Report &report);
    void completeStage(protocol::Report &report);
    void fillFinalReport(const Run &run, protocol::Report &report);
    void reportFault(const Fault &fault, protocol::Report &report);
    static void reportFailure(const StageFailure &failure, protocol::Report &report);

    // Stages.
    [[nodiscard]] StageResult perform(Work work);
    [[nodiscard]] StageResult erase();
    [[nodiscard]] StageResult blankCheck();
    [[nodiscard]] StageResult program();
    [[nodiscard]] StageResult verify();
    [[nodiscard]] StageResult programConfiguration();
    [[nodiscard]] StageResult checkConfiguration();
    [[nodiscard]] StageResult protect();
    [[nodiscard]] StageResult offerData();
    [[nodiscard]] StageResult compareWith(std::size_t offset, std::span<const Byte> wanted);
    [[nodiscard]] StageResult differenceAt(std::size_t offset, std::span<const Byte> wanted, std::size_t base);
    [[nodiscard]] StageFailure refusedAt(std::uint32_t address, protocol::Event event) const;
    [[nodiscard]] Data dataAt(std::size_t offset) const;

    // Sizes of the run under way, in bytes.
    [[nodiscard]] std::size_t blockOffset() const;
    [[nodiscard]] std::size_t blockBytes() const;
    [[nodiscard]] std::size_t addressBytes() const;
    [[nodiscard]] std::size_t bytesOf(std::uint32_t addresses) const;
    [[nodiscard]] std::size_t stagingCapacity() const;

    void completeRead(std::span<Byte> destination, Byte *state, bool corrupt);
    [[nodiscard]] bool deliver(std::span<Byte> destination);

    std::optional<Chip> chip_;
    std::optional<kx6sim_geometry> geometry_;
    Byte firmwareVersion_ = 1;
    FaultPlan faults_;

    std::array<Byte, protocol::algorithmBytes> algorithm_{};
    std::size_t algorithmLength_ = 0;

    /// Where the next bulk write goes, and the data of the newest announcement. Programming a whole
    /// erased chip in one block takes over the memory instead of copying it.
    Channel writeChannel_ = Channel::none;
    Storage staged_;
    std::size_t stagedBytes_ = 0;
    Byte stagedBank_ = 0;
    bool stagedInChip_ = false; ///< the chip has taken the staged memory over

    std::optional<Run> run_;
    std::uint32_t nextBlock_ = 0;
    bool stopRequested_ = false;
    ReadWindow window_;
    std::optional<PendingRead> pending_;

    kx6sim_counters counters_{};
    std::string trouble_;
};

} // namespace kx3sim
