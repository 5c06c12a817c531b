// Sessions, packets, transfers and reports.
#include "simulator/simulated_programmer.h"

#include "outside/driver_table.h"
#include <algorithm>
#include <utility>

namespace kx3sim {

using namespace protocol;

namespace {

constexpr Byte wrongVersionBits = 0x80;
constexpr Byte wrongMakerBits = 0xFF;
constexpr Byte bankMask = static_cast<Byte>(~lastBlockFlag);
constexpr unsigned byteValues = 256;

std::uint32_t blockIndex(std::span<const Byte> packet) {
    return packet[packet::blockLow] + byteValues * packet[packet::blockHigh];
}

std::string sizesText(std::uint64_t mainBytes, std::uint64_t eepromBytes) {
    return std::to_string(mainBytes) + " + " + std::to_string(eepromBytes);
}

} // namespace

// --- Socket and session -----------------------------------------------------------------------

void SimulatedProgrammer::insert(Chip chip) {
    forgetCommand();
    device_.reset();
    chip_ = std::move(chip);
}

Chip &SimulatedProgrammer::chip() {
    if (!chip_) throw Failure(KX6SIM_NO_CHIP, "the socket is empty");
    return *chip_;
}

Chip &SimulatedProgrammer::changedChip() {
    chip().changed = true;
    return *chip_;
}

std::optional<std::size_t> SimulatedProgrammer::programMain(std::size_t offset, std::span<const Byte> wanted) {
    Memory &main = changedChip().main;
    if (const std::optional<std::size_t> stuck = main.program(offset, wanted)) return stuck;
    for (BitFlip &flip : faults_.bitFlips()) {
        if (flip.done || flip.offset < offset || flip.offset - offset >= wanted.size()) continue;
        main.flip(static_cast<std::size_t>(flip.offset), flip.bit);
        flip.done = true;
    }
    return std::nullopt;
}

void SimulatedProgrammer::setFaults(FaultPlan plan) {
    faults_ = std::move(plan);
    counters_ = {};
}

bool SimulatedProgrammer::startCheck() noexcept { return faults_.strike(FaultPoint::start) == nullptr; }

void SimulatedProgrammer::prepare(const Device &device) {
    if (faults_.strike(FaultPoint::prepare) != nullptr)
        throw Failure(KX6SIM_REFUSED, "a fault refuses the device's preparation");
    const std::string chipSizes = sizesText(chip().main.size(), chip().eeprom.size());
    const std::string deviceSizes =
        sizesText(device.bytesOf(device.whole()).count, static_cast<std::uint64_t>(device->eeprom_bytes));
    if (chipSizes != deviceSizes)
        throw Failure(KX6SIM_WRONG_CHIP,
                      "the chip in the socket has " + chipSizes + " bytes, the device " + deviceSizes);
    forgetCommand();
    device_ = device;
    algorithm_.clear();
    counters_.unfetched_bytes = 0;
    trouble_.clear();
}

void SimulatedProgrammer::forgetCommand() noexcept {
    endRun();
    pending_.reset();
    closeWindow();
    writeChannel_ = Channel::none;
    nextBlock_ = 0;
}

void SimulatedProgrammer::closeWindow() noexcept {
    counters_.unfetched_bytes += window_.offered.count - window_.fetched;
    window_ = {};
}

kx6sim_counters SimulatedProgrammer::counters() const noexcept {
    kx6sim_counters now = counters_;
    now.unfetched_bytes += window_.offered.count - window_.fetched;
    return now;
}

// --- Command packets --------------------------------------------------------------------------

Integer SimulatedProgrammer::comWrite(std::span<const Byte> packet) {
    ++counters_.command_packets;
    if (faults_.strike(FaultPoint::comWrite) != nullptr) return transferRejected;
    if (packet.size() < writeAnnouncementBytes) return reject("a command packet is too short");
    writeChannel_ = Channel::none; // an announcement holds until the next packet
    switch (static_cast<Command>(packet[packet::command])) {
    case Command::signature:
        return packet.size() == shortPacketBytes ? transferAccepted : reject("a signature packet of a wrong length");
    case Command::algorithm: return executeAlgorithm(packet);
    case Command::data: return executeData(packet);
    case Command::control: return executeControl(packet);
    }
    return reject("an unknown command packet");
}

Integer SimulatedProgrammer::reject(std::string why) {
    ++counters_.rejected_packets;
    trouble_ = std::move(why);
    return transferRejected;
}

Integer SimulatedProgrammer::executeAlgorithm(std::span<const Byte> packet) {
    if (packet.size() != shortPacketBytes || packet[packet::service] != algorithmMemory)
        return reject("a malformed algorithm packet");
    forgetCommand();
    switch (static_cast<Direction>(packet[packet::direction])) {
    case Direction::toProgrammer:
        writeChannel_ = Channel::algorithm;
        algorithm_.clear();
        return transferAccepted;
    case Direction::fromProgrammer: window_.source = Channel::algorithm; return transferAccepted;
    }
    return reject("an algorithm packet of an unknown direction");
}

Integer SimulatedProgrammer::executeData(std::span<const Byte> packet) {
    switch (static_cast<Direction>(packet[packet::direction])) {
    case Direction::toProgrammer: return announceData(packet);
    case Direction::fromProgrammer: return requestData(packet);
    }
    return reject("a data packet of an unknown direction");
}

Integer SimulatedProgrammer::announceData(std::span<const Byte> packet) {
    endRun(); // one that is under way loses its data
    if (packet.size() != writeAnnouncementBytes || packet[packet::chunk] != 0)
        return reject("a malformed write announcement");
    if (!device_) return reject("a write announcement before a device is prepared");
    staged_.reserve(device_->mostData());
    stagedBank_ = packet[packet::dataBank];
    writeChannel_ = Channel::data;
    return transferAccepted;
}

Integer SimulatedProgrammer::requestData(std::span<const Byte> packet) {
    window_.source = Channel::none;
    if (packet.size() != shortPacketBytes) return reject("a malformed read request");
    if (window_.offered.count == 0) return reject("a read request without a read run");
    if (packet[packet::dataBank] != device_->blockDataBank()) return reject("a read request for a wrong bank");
    if (packet[packet::chunk] != window_.chunks % byteValues) return reject("a read request for a chunk out of order");
    window_.source = Channel::data;
    return transferAccepted;
}

Integer SimulatedProgrammer::executeControl(std::span<const Byte> packet) {
    const auto service = static_cast<Service>(packet[packet::service]);
    if (service == Service::stop) {
        ++counters_.stops;
        if (packet.size() != shortPacketBytes) return reject("a stop packet of a wrong length");
        stopRequested_ = run_.has_value();
        return transferAccepted;
    }
    if (packet.size() != controlPacketBytes) return reject("a control packet of a wrong length");
    switch (service) {
    case Service::version: forgetCommand(); return startService(Work::queryVersion);
    case Service::chipId:
        forgetCommand();
        if (!device_) return reject("a chip-ID read before a device is prepared");
        if (packet[packet::runBank] != (*device_)->bank) return reject("a chip-ID read in a wrong bank");
        return startService(Work::readIdentity);
    default: return startRun(packet);
    }
}

Integer SimulatedProgrammer::startService(Work work) {
    run_ = Run{.stages = {{work}}};
    return transferAccepted;
}

Integer SimulatedProgrammer::startRun(std::span<const Byte> packet) {
    // What follows does not answer: without these the programmer cannot carry out anything.
    run_.reset();
    closeWindow();
    stopRequested_ = false;
    if (!device_) return reject("a run before a device is prepared");
    if (algorithm_.empty()) return reject("a run without an algorithm image");
    const OperationFacts *facts = operationOf(packet[packet::service]);
    if (facts == nullptr) return reject("run code " + std::to_string(packet[packet::service]) + " is unknown");

    ++counters_.runs;
    const std::uint32_t index = blockIndex(packet);
    const auto block = facts->inBlocks ? device_->block(facts->operation, index) : std::optional(device_->whole());
    Run run{.facts = facts, .block = block.value_or(BlockRange{})};
    std::copy_n(packet.begin() + packet::configuration, configurationBytes, run.configuration.begin());
    std::string objection = block ? objectionTo(run, packet) : "the device has no block " + std::to_string(index);
    if (objection.empty()) {
        run.stages = stagesOf(*facts, run.block, index == 0, *device_);
        nextBlock_ = run.block.isLast ? 0 : index + 1;
    } else {
        (void)reject(std::move(objection));
        run.stages = {{Work::refuse}};
        nextBlock_ = 0;
    }
    run_ = std::move(run);
    return transferAccepted;
}

/// The rule that a run breaks, empty when there is none.
std::string SimulatedProgrammer::objectionTo(const Run &run, std::span<const Byte> packet) const {
    const Byte bank = packet[packet::runBank];
    const std::uint32_t index = blockIndex(packet);
    const bool inBlocks = run.facts->inBlocks;
    if ((bank & bankMask) != ((*device_)->bank & bankMask)) return "a run in a wrong bank";
    if (inBlocks && index != 0 && index != nextBlock_)
        return "a run of block " + std::to_string(index) + " where block " + std::to_string(nextBlock_) + " is due";
    if (inBlocks && ((bank & lastBlockFlag) != 0) != run.block.isLast)
        return "block " + std::to_string(index) + " and the mark of the last block do not agree";

    const std::size_t needed = dataNeeded(run, *device_);
    if (needed == 0) return {};
    const std::size_t trailing = inBlocks && run.block.isLast ? trailingBytes : 0;
    if (staged_.size() < needed || staged_.size() > needed + trailing)
        return "a run that needs " + std::to_string(needed) + " bytes got " + std::to_string(staged_.size());
    const Byte dataBank = inBlocks ? device_->blockDataBank() : device_->directDataBank();
    return stagedBank_ == dataBank ? std::string() : "a run whose data lie in another bank";
}

// --- Bulk transfers ---------------------------------------------------------------------------

Integer SimulatedProgrammer::bulkWrite(std::span<const Byte> data) {
    ++counters_.bulk_writes;
    if (faults_.strike(FaultPoint::bulkWrite) != nullptr) return transferRejected;
    switch (writeChannel_) {
    case Channel::none: return reject("a bulk write that nobody announced");
    case Channel::algorithm:
        writeChannel_ = Channel::none;
        if (data.size() > kx3::longestAlgorithm) return reject("an algorithm image that is too long");
        algorithm_.assign(data.begin(), data.end());
        break;
    case Channel::data:
        if (data.size() > device_->mostData() - staged_.size()) return reject("more data than a block takes");
        staged_.insert(staged_.end(), data.begin(), data.end());
        break;
    }
    counters_.bytes_written += data.size();
    return transferAccepted;
}

void SimulatedProgrammer::bulkRead(std::span<Byte> destination, Byte *state) {
    ++counters_.bulk_reads;
    pending_.reset();
    const Fault *fault = faults_.strike(FaultPoint::bulkRead);
    const bool corrupt = fault != nullptr && fault->kind == FaultKind::corrupt;
    if (fault == nullptr || corrupt)
        completeRead(destination, state, corrupt);
    else
        pending_ = PendingRead{destination, state, fault->value, fault->kind == FaultKind::fail};
}

void SimulatedProgrammer::advance() noexcept {
    if (!pending_ || --pending_->steps > 0) return;
    const PendingRead read = *pending_;
    pending_.reset();
    if (read.fails)
        *read.state = transferFailed;
    else
        completeRead(read.destination, read.state, false);
}

void SimulatedProgrammer::completeRead(std::span<Byte> destination, Byte *state, bool corrupt) {
    if (!deliver(destination)) {
        *state = transferFailed;
        return;
    }
    counters_.bytes_read += destination.size();
    if (corrupt && !destination.empty()) {
        const auto place = static_cast<std::size_t>(faults_.random() % destination.size());
        destination[place] = static_cast<Byte>(destination[place] ^ (1 + faults_.random() % (byteValues - 1)));
    }
    *state = transferComplete;
}

/// False when nothing, or less, was asked for by a request.
bool SimulatedProgrammer::deliver(std::span<Byte> destination) {
    switch (window_.source) {
    case Channel::none: return false;
    case Channel::algorithm: {
        if (destination.size() > algorithm_.size() + readBackExtraBytes) return false;
        const auto stored = std::min(destination.size(), algorithm_.size());
        std::fill(std::copy_n(algorithm_.begin(), stored, destination.begin()), destination.end(), Byte{0});
        return true;
    }
    case Channel::data:
        if (destination.size() > window_.offered.count - window_.fetched) return false;
        chip_->main.read(window_.offered.offset + window_.fetched, destination);
        window_.fetched += destination.size();
        ++window_.chunks;
        return true;
    }
    return false;
}

// --- Status reports ---------------------------------------------------------------------------

bool SimulatedProgrammer::fetchReport(Report &report) {
    ++counters_.reports;
    const Fault *fault = faults_.strike(FaultPoint::report);
    if (!run_ && device_ && device_->isPinDriven()) startService(Work::readIdentity);
    if (!run_ || (fault != nullptr && fault->kind == FaultKind::missing)) return false;
    report.fill(0);
    if (fault == nullptr && stopRequested_) {
        failRun({Event::stopped}, report);
        return true;
    }
    report[report::stage] = static_cast<Byte>(run_->stage().code);
    if (fault != nullptr) {
        failRun(failureOf(*fault), report);
        return true;
    }
    report[report::pass] = run_->stage().pass;
    report[report::progress] = run_->step(faults_.reportsPerPercent());
    if (report[report::progress] == finished) completeStage(report);
    return true;
}

SimulatedProgrammer::StageFailure SimulatedProgrammer::failureOf(const Fault &fault) const {
    switch (fault.kind) {
    case FaultKind::compare: return refusal(Event::compareError, static_cast<std::uint32_t>(fault.value));
    case FaultKind::identity: return {Event::identityError};
    default: return {Event::stopped};
    }
}

void SimulatedProgrammer::failRun(const StageFailure &failure, Report &report) {
    report[report::progress] = 0;
    report[report::event] = static_cast<Byte>(failure.event);
    for (std::size_t i = 0; i < sizeof failure.address; ++i)
        report[report::address + i] = static_cast<Byte>(failure.address >> (8 * i));
    report[report::deviceLow] = failure.device[0];
    report[report::deviceHigh] = failure.device[1];
    report[report::bufferLow] = failure.buffer[0];
    report[report::bufferHigh] = failure.buffer[1];
    nextBlock_ = 0;
    endRun();
}

void SimulatedProgrammer::endRun() noexcept {
    run_.reset();
    stopRequested_ = false;
    staged_.clear();
}

void SimulatedProgrammer::completeStage(Report &report) {
    if (const StageResult failure = perform(run_->stage().work)) {
        failRun(*failure, report);
        return;
    }
    if (run_->current + 1 < run_->stages.size()) {
        report[report::progress] = stageDone;
        ++run_->current;
        run_->steps = 0;
        return;
    }
    fillFinalReport(report);
    endRun();
}

void SimulatedProgrammer::fillFinalReport(Report &report) {
    switch (run_->stage().work) {
    case Work::queryVersion: {
        const bool wrong = faults_.strike(FaultPoint::version) != nullptr;
        report[report::version] = static_cast<Byte>(firmwareVersion_ ^ (wrong ? wrongVersionBits : 0));
        break;
    }
    case Work::readIdentity: {
        const kx6sim_identity &identity = chip().identity;
        const bool wrong = faults_.strike(FaultPoint::chipId) != nullptr;
        report[report::codeCount] = static_cast<Byte>(identity.code_count - 1);
        report[report::maker] = static_cast<Byte>(identity.maker ^ (wrong ? wrongMakerBits : 0));
        std::copy_n(identity.codes, identity.code_count, report.begin() + report::codes);
        break;
    }
    case Work::read:
        chip().configuration.read(0, std::span(report).subspan(report::configuration, configurationBytes));
        break;
    default: break;
    }
}

} // namespace kx3sim
