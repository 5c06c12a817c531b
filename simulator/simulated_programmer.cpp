#include "simulator/simulated_programmer.h"

#include "simulator/failure.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace kx3sim {

using namespace protocol;

namespace {

constexpr Byte wrongVersionBits = 0x80;
constexpr Byte wrongMakerBits = 0xFF;
constexpr Byte bankMask = static_cast<Byte>(~lastBlockFlag);
constexpr unsigned byteValues = 256;

bool isKnown(unsigned operation) noexcept {
    switch (static_cast<Operation>(operation)) {
    case Operation::autoSequence:
    case Operation::read:
    case Operation::program:
    case Operation::blankCheck:
    case Operation::verify:
    case Operation::autoProgram:
    case Operation::protect:
    case Operation::erase:
    case Operation::programConfiguration:
    case Operation::checkConfiguration: return true;
    }
    return false;
}

/// Operation of a run code; nothing when the programmer knows no such run.
std::optional<Operation> operationOf(Byte runCode) noexcept {
    if (runCode == readRunCode) return Operation::read;
    if (runCode == 0 || !isKnown(runCode - 1U)) return std::nullopt;
    return static_cast<Operation>(runCode - 1);
}

std::uint32_t blockIndex(std::span<const Byte> packet) {
    return packet[packet::blockLow] + byteValues * packet[packet::blockHigh];
}

Stage serviceStage(Work work) { return {work, StageCode::none}; }

bool takesStagedData(const Run &run, const std::optional<DataWindow> &window) {
    switch (run.operation) {
    case Operation::program:
    case Operation::autoSequence:
    case Operation::autoProgram: return true;
    default: return !runsInBlocks(run.operation) && window.has_value();
    }
}

} // namespace

// --- Socket and session -----------------------------------------------------------------------

void SimulatedProgrammer::insert(Chip chip) {
    forgetCommand();
    chip_ = std::move(chip);
}

Chip &SimulatedProgrammer::chip() {
    if (!chip_) throw Failure(KX6SIM_NO_CHIP, "the socket is empty");
    return *chip_;
}

void SimulatedProgrammer::setFaults(FaultPlan plan) {
    faults_ = std::move(plan);
    counters_ = {};
}

bool SimulatedProgrammer::startCheck() noexcept { return faults_.strike(FaultPoint::start) == nullptr; }

void SimulatedProgrammer::prepare(const kx6sim_geometry &geometry) {
    if (faults_.strike(FaultPoint::prepare) != nullptr)
        throw Failure(KX6SIM_REFUSED, "a fault refuses the device's preparation");
    const Chip &inSocket = chip();
    if (inSocket.main.size() != mainBytes(geometry) ||
        inSocket.eeprom.size() != static_cast<std::size_t>(geometry.eeprom_bytes))
        throw Failure(KX6SIM_WRONG_CHIP, "the chip in the socket has " + std::to_string(inSocket.main.size()) + " + " +
                                             std::to_string(inSocket.eeprom.size()) + " bytes, the device " +
                                             std::to_string(mainBytes(geometry)) + " + " +
                                             std::to_string(geometry.eeprom_bytes));
    forgetCommand();
    geometry_ = geometry;
    algorithmLength_ = 0;
    counters_.unfetched_bytes = 0;
    trouble_.clear();
}

void SimulatedProgrammer::forgetCommand() noexcept {
    run_.reset();
    pending_.reset();
    closeWindow();
    writeChannel_ = Channel::none;
    stopRequested_ = false;
    nextBlock_ = 0;
    stagedBytes_ = 0;
}

void SimulatedProgrammer::closeWindow() noexcept {
    counters_.unfetched_bytes += window_.count - window_.fetched;
    window_ = {};
}

void SimulatedProgrammer::endOperation() noexcept { forgetCommand(); }

kx6sim_counters SimulatedProgrammer::counters() const noexcept {
    kx6sim_counters now = counters_;
    now.unfetched_bytes += window_.count - window_.fetched;
    return now;
}

std::optional<std::size_t> SimulatedProgrammer::programMain(std::size_t offset, std::span<const Byte> wanted) {
    chip().changed = true;
    const std::optional<std::size_t> stuck = chip().main.program(offset, wanted);
    if (stuck) return stuck;
    for (BitFlip &flip : faults_.bitFlips()) {
        if (flip.done || flip.offset < offset || flip.offset - offset >= wanted.size()) continue;
        chip().main.flipBit(static_cast<std::size_t>(flip.offset), flip.bit);
        flip.done = true;
    }
    return std::nullopt;
}

// --- Command packets --------------------------------------------------------------------------

Integer SimulatedProgrammer::comWrite(std::span<const Byte> packet) {
    ++counters_.command_packets;
    if (faults_.strike(FaultPoint::comWrite) != nullptr) return transferRejected;
    if (packet.size() < writeAnnouncementBytes) return reject("a command packet is too short");
    return execute(packet);
}

Integer SimulatedProgrammer::reject(std::string why) {
    ++counters_.rejected_packets;
    trouble_ = std::move(why);
    return transferRejected;
}

Integer SimulatedProgrammer::execute(std::span<const Byte> packet) {
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

Integer SimulatedProgrammer::executeAlgorithm(std::span<const Byte> packet) {
    if (packet.size() != shortPacketBytes || packet[packet::service] != algorithmMemory)
        return reject("a malformed algorithm packet");
    forgetCommand();
    switch (static_cast<Direction>(packet[packet::direction])) {
    case Direction::toProgrammer:
        writeChannel_ = Channel::algorithm;
        algorithmLength_ = 0;
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
    stagedBytes_ = 0;
    if (packet.size() != writeAnnouncementBytes || packet[packet::chunk] != 0)
        return reject("a malformed write announcement");
    if (!geometry_) return reject("a write announcement before a device is prepared");
    staged_.reserve(stagingCapacity());
    stagedInChip_ = false;
    stagedBank_ = packet[packet::dataBank];
    writeChannel_ = Channel::data;
    return transferAccepted;
}

Integer SimulatedProgrammer::requestData(std::span<const Byte> packet) {
    window_.source = Channel::none;
    if (packet.size() != shortPacketBytes) return reject("a malformed read request");
    if (window_.count == 0) return reject("a read request without a read run");
    if (packet[packet::dataBank] != blockDataBank(*geometry_)) return reject("a read request for a wrong bank");
    if (packet[packet::chunk] != window_.chunks % byteValues) return reject("a read request for a chunk out of order");
    window_.source = Channel::data;
    return transferAccepted;
}

Integer SimulatedProgrammer::executeControl(std::span<const Byte> packet) {
    const Byte code = packet[packet::service];
    if (static_cast<Service>(code) == Service::stop) return executeStop(packet);
    if (packet.size() != controlPacketBytes) return reject("a control packet of a wrong length");
    switch (static_cast<Service>(code)) {
    case Service::version:
        forgetCommand();
        run_.emplace(serviceStage(Work::queryVersion));
        return transferAccepted;
    case Service::chipId: return startIdentityRead(packet);
    default: return startRun(packet);
    }
}

Integer SimulatedProgrammer::executeStop(std::span<const Byte> packet) {
    ++counters_.stops;
    if (packet.size() != shortPacketBytes) return reject("a stop packet of a wrong length");
    stopRequested_ = run_.has_value();
    return transferAccepted;
}

Integer SimulatedProgrammer::startIdentityRead(std::span<const Byte> packet) {
    forgetCommand();
    if (!geometry_) return reject("a chip-ID read before a device is prepared");
    if (packet[packet::runBank] != geometry_->bank) return reject("a chip-ID read in a wrong bank");
    run_.emplace(serviceStage(Work::readIdentity));
    return transferAccepted;
}

Integer SimulatedProgrammer::startRun(std::span<const Byte> packet) {
    // What follows does not answer: without these the programmer cannot carry out anything.
    run_.reset();
    closeWindow();
    stopRequested_ = false;
    if (!geometry_) return reject("a run before a device is prepared");
    if (algorithmLength_ == 0) return reject("a run without an algorithm image");
    const std::optional<Operation> operation = operationOf(packet[packet::service]);
    if (!operation) return reject("run code " + std::to_string(packet[packet::service]) + " is unknown");

    ++counters_.runs;
    run_ = makeRun(*operation, packet);
    return transferAccepted;
}

Run SimulatedProgrammer::makeRun(Operation operation, std::span<const Byte> packet) {
    const std::uint32_t index = blockIndex(packet);
    const BlockRange wholeDevice{0, static_cast<std::uint32_t>(geometry_->addresses), true};
    const std::optional<BlockRange> block =
        runsInBlocks(operation) ? blockRange(*geometry_, operation, index) : std::optional(wholeDevice);

    Run run(operation, block.value_or(BlockRange{}), {});
    std::string objection = block ? objectionTo(run, packet) : "the device has no block " + std::to_string(index);
    StageList stages;
    if (objection.empty()) {
        stages = stagesOf(operation, run.block, index == 0, *geometry_);
        nextBlock_ = run.block.isLast ? 0 : index + 1;
    } else {
        (void)reject(std::move(objection));
        stages.add({Work::refuse, StageCode::none});
        nextBlock_ = 0;
    }
    run = Run(operation, run.block, stages);
    std::copy_n(packet.begin() + packet::configuration, configurationBytes, run.configuration.begin());
    return run;
}

std::string SimulatedProgrammer::objectionTo(const Run &run, std::span<const Byte> packet) const {
    const Byte bank = packet[packet::runBank];
    const std::uint32_t index = blockIndex(packet);
    if ((bank & bankMask) != (geometry_->bank & bankMask)) return "a run in a wrong bank";
    if (runsInBlocks(run.operation)) {
        if (index != 0 && index != nextBlock_)
            return "a run of block " + std::to_string(index) + " where block " + std::to_string(nextBlock_) + " is due";
        if (((bank & lastBlockFlag) != 0) != run.block.isLast)
            return "block " + std::to_string(index) + " and the mark of the last block do not agree";
    }
    return takesStagedData(run, directDataWindow(*geometry_)) ? objectionToData(run) : std::string();
}

std::string SimulatedProgrammer::objectionToData(const Run &run) const {
    const std::size_t needed = stagedBytesNeeded(run);
    if (stagedBytes_ < needed)
        return "a run that needs " + std::to_string(needed) + " bytes got " + std::to_string(stagedBytes_);
    const std::size_t trailing = runsInBlocks(run.operation) && run.block.isLast ? trailingBytes : 0;
    if (stagedBytes_ > needed + trailing)
        return "a run that needs " + std::to_string(needed) + " bytes got " + std::to_string(stagedBytes_);
    const Byte bank = runsInBlocks(run.operation) ? blockDataBank(*geometry_) : directDataBank(*geometry_);
    return stagedBank_ == bank ? std::string() : "a run whose data lie in another bank";
}

std::size_t SimulatedProgrammer::stagedBytesNeeded(const Run &run) const {
    return runsInBlocks(run.operation) ? bytesOf(run.block.addresses) : directDataWindow(*geometry_)->count;
}

// --- Bulk transfers ---------------------------------------------------------------------------

Integer SimulatedProgrammer::bulkWrite(std::span<const Byte> data) {
    ++counters_.bulk_writes;
    if (faults_.strike(FaultPoint::bulkWrite) != nullptr) return transferRejected;
    switch (writeChannel_) {
    case Channel::none: return reject("a bulk write that nobody announced");
    case Channel::algorithm:
        writeChannel_ = Channel::none;
        if (data.size() > algorithmBytes) return reject("an algorithm image that is too long");
        std::copy(data.begin(), data.end(), algorithm_.begin());
        algorithmLength_ = data.size();
        break;
    case Channel::data:
        if (data.size() > stagingCapacity() - stagedBytes_) return reject("more data than a block takes");
        if (!data.empty()) std::memcpy(&staged_.bytes[stagedBytes_], data.data(), data.size());
        stagedBytes_ += data.size();
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
        if (destination.size() > algorithmLength_ + readBackExtraBytes) return false;
        const std::size_t stored = std::min(destination.size(), algorithmLength_);
        std::copy_n(algorithm_.begin(), stored, destination.begin());
        std::fill(destination.begin() + static_cast<std::ptrdiff_t>(stored), destination.end(), Byte{0});
        return true;
    }
    case Channel::data:
        if (destination.size() > window_.count - window_.fetched) return false;
        chip_->main.read(window_.offset + window_.fetched, destination);
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
    if (!run_ && isPinDriven()) run_.emplace(serviceStage(Work::readIdentity));
    if (!run_ || (fault != nullptr && fault->kind == FaultKind::missing)) return false;
    report.fill(0);
    if (fault != nullptr) {
        reportFault(*fault, report);
        nextBlock_ = 0;
        finishRun();
    } else if (stopRequested_) {
        report[report::event] = static_cast<Byte>(Event::stopped);
        nextBlock_ = 0;
        finishRun();
    } else {
        stepRun(report);
    }
    return true;
}

void SimulatedProgrammer::finishRun() noexcept {
    run_.reset();
    stopRequested_ = false;
    stagedBytes_ = 0;
}

void SimulatedProgrammer::stepRun(Report &report) {
    const Byte percent = run_->step(faults_.reportsPerPercent());
    if (percent == finished) {
        completeStage(report);
        return;
    }
    report[report::progress] = percent;
    report[report::stage] = static_cast<Byte>(run_->stage().code);
    report[report::pass] = run_->stage().pass;
}

void SimulatedProgrammer::completeStage(Report &report) {
    const Stage &stage = run_->stage();
    report[report::stage] = static_cast<Byte>(stage.code);
    if (const StageResult failure = perform(stage.work)) {
        reportFailure(*failure, report);
        nextBlock_ = 0;
        finishRun();
        return;
    }
    report[report::pass] = stage.pass;
    if (!run_->isLastStage()) {
        report[report::progress] = stageDone;
        run_->enterNextStage();
        return;
    }
    report[report::progress] = finished;
    fillFinalReport(*run_, report);
    finishRun();
}

void SimulatedProgrammer::fillFinalReport(const Run &run, Report &report) {
    switch (run.stage().work) {
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
        std::copy_n(chip().configuration.begin(), configurationBytes, report.begin() + report::configuration);
        break;
    default: break;
    }
}

void SimulatedProgrammer::reportFault(const Fault &fault, Report &report) {
    report[report::stage] = static_cast<Byte>(run_->stage().code);
    switch (fault.kind) {
    case FaultKind::compare:
        reportFailure(refusedAt(static_cast<std::uint32_t>(fault.value), Event::compareError), report);
        break;
    case FaultKind::identity: report[report::event] = static_cast<Byte>(Event::identityError); break;
    default: report[report::event] = static_cast<Byte>(Event::stopped); break;
    }
}

void SimulatedProgrammer::reportFailure(const StageFailure &failure, Report &report) {
    report[report::event] = static_cast<Byte>(failure.event);
    for (std::size_t i = 0; i < sizeof failure.address; ++i)
        report[report::address + i] = static_cast<Byte>(failure.address >> (8 * i));
    report[report::deviceLow] = failure.device[0];
    report[report::deviceHigh] = failure.device[1];
    report[report::bufferLow] = failure.buffer[0];
    report[report::bufferHigh] = failure.buffer[1];
}

// --- Stages -----------------------------------------------------------------------------------

SimulatedProgrammer::StageResult SimulatedProgrammer::perform(Work work) {
    switch (work) {
    case Work::erase: return erase();
    case Work::blankCheck: return blankCheck();
    case Work::program: return program();
    case Work::verify: return verify();
    case Work::programConfiguration: return programConfiguration();
    case Work::checkConfiguration: return checkConfiguration();
    case Work::protect: return protect();
    case Work::read: return offerData();
    case Work::queryVersion:
    case Work::readIdentity: return std::nullopt;
    case Work::refuse: return refusedAt(run_->block.first, Event::compareError);
    }
    return std::nullopt;
}

/// An auto sequence erases the addresses that it programs; an erase, and any that has to lift the
/// protection, erases the whole chip.
SimulatedProgrammer::StageResult SimulatedProgrammer::erase() {
    Chip &target = chip();
    if (run_->operation == Operation::erase || target.isProtected) {
        target.massErase();
        return std::nullopt;
    }
    const std::size_t first = bytesOf(static_cast<std::uint32_t>(geometry_->first_address));
    target.main.erase(first, target.main.size() - first);
    target.changed = true;
    return std::nullopt;
}

SimulatedProgrammer::StageResult SimulatedProgrammer::blankCheck() {
    const FlashArray &main = chip().main;
    if (chip().isProtected) return refusedAt(run_->block.first, Event::identityError);
    const std::size_t first = bytesOf(run_->block.first);
    const std::optional<std::size_t> found = main.firstProgrammed(first, main.size() - first);
    if (!found) return std::nullopt;
    return differenceAt(*found, {}, 0);
}

SimulatedProgrammer::StageResult SimulatedProgrammer::program() {
    Chip &target = chip();
    if (target.isProtected) return refusedAt(run_->block.first, Event::compareError);
    const bool wholeChip = blockOffset() == 0 && blockBytes() == target.main.size();
    if (wholeChip && faults_.bitFlips().empty() && target.main.adopt(staged_)) {
        target.changed = true;
        stagedInChip_ = true;
        return std::nullopt;
    }
    const std::span<const Byte> wanted(staged_.bytes.get(), blockBytes());
    const std::optional<std::size_t> stuck = programMain(blockOffset(), wanted);
    return stuck ? differenceAt(*stuck, wanted, blockOffset()) : std::nullopt;
}

SimulatedProgrammer::StageResult SimulatedProgrammer::verify() {
    if (stagedInChip_) return std::nullopt; // the data are the chip's memory
    return compareWith(blockOffset(), std::span<const Byte>(staged_.bytes.get(), blockBytes()));
}

SimulatedProgrammer::StageResult SimulatedProgrammer::programConfiguration() {
    Chip &target = chip();
    if (target.isProtected) return refusedAt(run_->block.first, Event::identityError);
    std::copy(run_->configuration.begin(), run_->configuration.end(), target.configuration.begin());
    target.changed = true;
    return std::nullopt;
}

SimulatedProgrammer::StageResult SimulatedProgrammer::checkConfiguration() {
    Chip &target = chip();
    if (target.isProtected) return refusedAt(run_->block.first, Event::identityError);
    if (const std::optional<DataWindow> window = directDataWindow(*geometry_)) {
        if (!target.main.contains(window->offset, window->count))
            return refusedAt(run_->block.first, Event::compareError);
        if (StageResult differs = compareWith(window->offset, {staged_.bytes.get(), window->count})) return differs;
    }
    const auto [device, buffer] = std::mismatch(
        target.configuration.begin(), target.configuration.begin() + configurationBytes, run_->configuration.begin());
    if (buffer == run_->configuration.end()) return std::nullopt;
    const auto index = static_cast<std::uint32_t>(buffer - run_->configuration.begin());
    return StageFailure{Event::compareError, run_->block.addresses + index, {*device, 0}, {*buffer, 0}};
}

SimulatedProgrammer::StageResult SimulatedProgrammer::protect() {
    chip().isProtected = true;
    chip().changed = true;
    return std::nullopt;
}

SimulatedProgrammer::StageResult SimulatedProgrammer::offerData() {
    if (chip().isProtected) return refusedAt(run_->block.first, Event::compareError);
    window_ = {Channel::none, blockOffset(), blockBytes(), 0, 0};
    return std::nullopt;
}

SimulatedProgrammer::StageResult SimulatedProgrammer::compareWith(std::size_t offset, std::span<const Byte> wanted) {
    const std::optional<std::size_t> found = chip().main.firstDifference(offset, wanted);
    return found ? differenceAt(*found, wanted, offset) : std::nullopt;
}

/// The failure at byte `offset` of main memory; `wanted` stands at `base`. Without `wanted` the
/// buffer fields stay 0.
SimulatedProgrammer::StageResult SimulatedProgrammer::differenceAt(std::size_t offset, std::span<const Byte> wanted,
                                                                   std::size_t base) {
    const std::size_t width = addressBytes();
    const std::size_t first = offset / width * width;
    StageFailure failure{Event::compareError, static_cast<std::uint32_t>(offset / width), dataAt(first), {}};
    for (std::size_t i = 0; i < failure.buffer.size(); ++i)
        if (i < width && first + i >= base && first + i - base < wanted.size())
            failure.buffer[i] = wanted[first + i - base];
    return failure;
}

/// A failure at `address` that is not the chip's contents'; device data are shown where there are any.
SimulatedProgrammer::StageFailure SimulatedProgrammer::refusedAt(std::uint32_t address, Event event) const {
    const bool readable = chip_ && geometry_ && !chip_->isProtected;
    return {event, address, readable ? dataAt(bytesOf(address)) : Data{}, {}};
}

/// The bytes of one address, which begin at `offset`; what the chip does not have is 0.
SimulatedProgrammer::Data SimulatedProgrammer::dataAt(std::size_t offset) const {
    Data data{};
    for (std::size_t i = 0; i < data.size(); ++i)
        if (i < addressBytes() && chip_->main.contains(offset + i, 1)) data[i] = chip_->main[offset + i];
    return data;
}

bool SimulatedProgrammer::isPinDriven() const noexcept { return geometry_ && geometry_->module == KX6SIM_MODULE_NONE; }

// --- Sizes ------------------------------------------------------------------------------------

std::size_t SimulatedProgrammer::addressBytes() const { return static_cast<std::size_t>(geometry_->bytes_per_address); }
std::size_t SimulatedProgrammer::bytesOf(std::uint32_t addresses) const { return addresses * addressBytes(); }
std::size_t SimulatedProgrammer::blockOffset() const { return bytesOf(run_->block.first); }
std::size_t SimulatedProgrammer::blockBytes() const { return bytesOf(run_->block.addresses); }

/// Room for the largest block and what may follow it, and for the data of operations that run at once.
std::size_t SimulatedProgrammer::stagingCapacity() const {
    const std::int32_t block = std::clamp(geometry_->block_addresses, 0, geometry_->addresses);
    return std::max(bytesOf(static_cast<std::uint32_t>(block)) + trailingBytes, largestDirectDataWindow);
}

} // namespace kx3sim
