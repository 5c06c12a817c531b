#include "simulator/session_host.h"

#include "base/checked.h"
#include "base/error.h"
#include "base/text.h"
#include "blocks/sharemap.h"
#include "simulator/protocol.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <limits>
#include <thread>
#include <utility>

namespace kx3sim {

using kx3::ErrorNumber;
using protocol::Operation;

namespace {

/// Elements of `prgresult` and the result codes that the host itself leaves there.
constexpr std::size_t resultCode = 0;
constexpr std::size_t selectedOperation = 1;
constexpr Byte resultPassed = 0;
constexpr Byte resultFailed = 1;
constexpr Byte resultError = 3;

/// Elements of `MainRtstr`.
constexpr Long logText = 0;
constexpr Long verifyText = 1;

/// Results of StartCheck and of the preparation calls.
constexpr Long sessionRefused = 1;
constexpr Long sessionStopped = 2;

/// Lines that a verify writes at most; further differences are only counted.
constexpr std::uint64_t verifyLines = 16;

constexpr std::size_t compareChunk = 4096;
constexpr unsigned bitsPerByte = 8;
constexpr std::size_t addressDigits = 8;
constexpr std::size_t byteDigits = 2;

std::u16string paddedHex(Long value, std::size_t digits) {
    const std::u16string text = kx3::hex(value);
    return std::u16string(digits - std::min(digits, text.size()), u'0') + text;
}

std::string utf8(const std::filesystem::path &path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

/// First address of the operation; -1, where no block lies, when it is no address.
Long firstAddress(Double value) {
    if (!(value >= 0 && value <= std::numeric_limits<Long>::max())) return -1;
    return kx3::roundToLong(value);
}

ErrorNumber errorNumber(kx6sim_status status) {
    switch (status) {
    case KX6SIM_BAD_ARGUMENT: return ErrorNumber::invalidCall;
    case KX6SIM_OUT_OF_MEMORY: return ErrorNumber::outOfMemory;
    case KX6SIM_FILE_MISSING: return ErrorNumber::fileNotFound;
    default: return ErrorNumber::deviceIo;
    }
}

kx6sim_identity identityOf(const Options &options) {
    kx6sim_identity identity{};
    identity.maker = options.maker;
    if (options.deviceCodes.empty() || options.deviceCodes.size() > std::size(identity.codes))
        kx3::raise(ErrorNumber::invalidCall, u"A simulated chip has 1 to 7 device-code bytes");
    identity.code_count = static_cast<Byte>(options.deviceCodes.size());
    std::copy(options.deviceCodes.begin(), options.deviceCodes.end(), identity.codes);
    return identity;
}

} // namespace

/// The control interface of library kx6io, bound by name.
struct SessionHost::Functions {
    explicit Functions(const kx3::platform::DynamicLibrary &library)
        :
#define KX3SIM_BIND(name) name(library.function<decltype(kx6sim_##name)>("kx6sim_" #name))
          KX3SIM_BIND(last_error), KX3SIM_BIND(trouble), KX3SIM_BIND(reset), KX3SIM_BIND(insert_blank_chip),
          KX3SIM_BIND(load_chip), KX3SIM_BIND(save_chip), KX3SIM_BIND(chip_changed), KX3SIM_BIND(area_bytes),
          KX3SIM_BIND(chip_erase), KX3SIM_BIND(chip_program), KX3SIM_BIND(chip_blank_check), KX3SIM_BIND(chip_read),
          KX3SIM_BIND(chip_protect), KX3SIM_BIND(set_firmware_version), KX3SIM_BIND(set_faults),
          KX3SIM_BIND(start_check), KX3SIM_BIND(prepare), KX3SIM_BIND(end_operation), KX3SIM_BIND(advance),
          KX3SIM_BIND(fetch_report), KX3SIM_BIND(get_counters)
#undef KX3SIM_BIND
    {
    }

#define KX3SIM_FUNCTION(name) decltype(kx6sim_##name) *name
    KX3SIM_FUNCTION(last_error);
    KX3SIM_FUNCTION(trouble);
    KX3SIM_FUNCTION(reset);
    KX3SIM_FUNCTION(insert_blank_chip);
    KX3SIM_FUNCTION(load_chip);
    KX3SIM_FUNCTION(save_chip);
    KX3SIM_FUNCTION(chip_changed);
    KX3SIM_FUNCTION(area_bytes);
    KX3SIM_FUNCTION(chip_erase);
    KX3SIM_FUNCTION(chip_program);
    KX3SIM_FUNCTION(chip_blank_check);
    KX3SIM_FUNCTION(chip_read);
    KX3SIM_FUNCTION(chip_protect);
    KX3SIM_FUNCTION(set_firmware_version);
    KX3SIM_FUNCTION(set_faults);
    KX3SIM_FUNCTION(start_check);
    KX3SIM_FUNCTION(prepare);
    KX3SIM_FUNCTION(end_operation);
    KX3SIM_FUNCTION(advance);
    KX3SIM_FUNCTION(fetch_report);
    KX3SIM_FUNCTION(get_counters);
#undef KX3SIM_FUNCTION
};

HostBlocks hostBlocks(kx3::sharemap &blocks) {
    const auto whole = [](auto &array) { return array.range(0, static_cast<Long>(array.count())); };
    constexpr Long usedResults = 2;
    constexpr Long usedParameters = 3;
    return {.ibuf1 = blocks.ibuf1.range(0, KX6SIM_REPORT_BYTES),
            .ibuffer = whole(blocks.ibuffer),
            .prgresult = blocks.prgresult.range(0, usedResults),
            .prgmode = whole(blocks.prgmode),
            .wordmode = whole(blocks.wordmode),
            .rambknum = whole(blocks.rambknum),
            .tlength = whole(blocks.tlength),
            .ramlg = whole(blocks.ramlg),
            .buflength = whole(blocks.buflength),
            .wlverifyvcc = whole(blocks.wlverifyvcc),
            .wltbigendbuf = blocks.wltbigendbuf.range(0, usedParameters),
            .appendText = [&blocks](Long index, std::u16string_view text) {
                kx3::appendText(blocks.MainRtstr, index, text);
            }};
}

SessionHost::SessionHost(Options options)
    : options_(std::move(options)), library_("kx6io"), programmer_(std::make_unique<Functions>(library_)) {
    (void)identityOf(options_);
    programmer_->reset();
    programmer_->set_firmware_version(options_.firmwareVersion);
    check(programmer_->set_faults(options_.faults.c_str(), options_.seed));
}

SessionHost::~SessionHost() = default;

void SessionHost::setBlocks(HostBlocks blocks) {
    blocks_ = std::move(blocks);
    buffer_ = blocks_.ibuffer.data();
    bufferBytes_ = blocks_.ibuffer.size();
}

HostBlocks &SessionHost::blocks() {
    if (blocks_.ibuf1.size() < KX6SIM_REPORT_BYTES) kx3::raise(ErrorNumber::objectNotSet);
    return blocks_;
}

void SessionHost::check(kx6sim_status status) const {
    if (status != KX6SIM_OK) kx3::raise(errorNumber(status), kx3::fromUtf8(programmer_->last_error()));
}

// --- Start and end ----------------------------------------------------------------------------

Long SessionHost::StartCheck() {
    (void)blocks();
    signal_ = Signal::none;
    mismatches_ = {};
    mismatchText_ = verifyText;
    refusal_.clear();
    programmer_->end_operation();
    powerDown();
    if (programmer_->start_check() == 0) return 0;
    refusal_ = "a fault refuses the start";
    return sessionRefused;
}

void SessionHost::powerDown() noexcept {
    millivolts_ = 0;
    powered_ = false;
    pinDriven_ = false;
}

/// A read that did not fetch everything that the programmer offered has not read the device.
void SessionHost::failWhenDataWereLeft() {
    const auto operation = static_cast<Operation>(blocks().prgresult[selectedOperation]);
    if (operation != Operation::read && operation != Operation::verify) return;
    const std::uint64_t left = counters().unfetched_bytes;
    if (left == 0 || blocks().prgresult[resultCode] != resultPassed) return;
    blocks().prgresult[resultCode] = resultFailed;
    append(logText, kx3::join(u">>", kx3::fromUtf8(std::to_string(left)), u" bytes of the device were not read\n"));
}

void SessionHost::EndOperation() {
    failWhenDataWereLeft();
    programmer_->end_operation();
    powerDown();
    saveChip();
}

void SessionHost::SignalPass(Long /*value*/) { signal_ = Signal::pass; }
void SessionHost::SignalFail(Long /*value*/) { signal_ = Signal::fail; }
void SessionHost::ReportStartFailure() { signal_ = Signal::startFailure; }

void SessionHost::saveChip() {
    if (!options_.chipFile || programmer_->chip_changed() == 0) return;
    check(programmer_->save_chip(utf8(*options_.chipFile).c_str()));
}

// --- Preparation and power --------------------------------------------------------------------

kx6sim_geometry SessionHost::geometry(std::uint8_t module) {
    const HostBlocks &from = blocks();
    kx6sim_geometry geometry{};
    geometry.addresses = from.tlength.front();
    geometry.bytes_per_address = from.wordmode.front();
    geometry.block_addresses = from.ramlg.front();
    geometry.first_address = firstAddress(from.wltbigendbuf.front());
    geometry.verify_margin = from.wlverifyvcc.front();
    geometry.eeprom_bytes = options_.eepromBytes;
    geometry.bank = from.rambknum.front();
    geometry.family = from.prgmode.front();
    geometry.module = module;
    geometry.protect_in_auto = options_.protectInAuto ? 1 : 0;
    return geometry;
}

/// Put the chip into the socket when there is none yet. A chip that lives in memory is as large as
/// the device; another device gets another chip.
kx6sim_status SessionHost::insertChip(const kx6sim_geometry &geometry) {
    if (geometry.addresses <= 0 || geometry.bytes_per_address <= 0 || geometry.eeprom_bytes < 0)
        return KX6SIM_OK; // the preparation says what is wrong with it
    const auto bytes =
        static_cast<std::uint64_t>(geometry.addresses) * static_cast<std::uint64_t>(geometry.bytes_per_address);
    const auto eepromBytes = static_cast<std::uint64_t>(geometry.eeprom_bytes);
    const std::uint64_t inSocket = programmer_->area_bytes(KX6SIM_AREA_MAIN);
    if (options_.chipFile) {
        if (inSocket != 0) return KX6SIM_OK;
        const kx6sim_status loaded = programmer_->load_chip(utf8(*options_.chipFile).c_str());
        if (loaded != KX6SIM_FILE_MISSING) return loaded;
    } else if (inSocket == bytes && programmer_->area_bytes(KX6SIM_AREA_EEPROM) == eepromBytes) {
        return KX6SIM_OK;
    }
    const kx6sim_identity identity = identityOf(options_);
    return programmer_->insert_blank_chip(bytes, eepromBytes, &identity);
}

Long SessionHost::prepare(std::uint8_t module) {
    const kx6sim_geometry device = geometry(module);
    kx6sim_status status = insertChip(device);
    if (status == KX6SIM_OK) status = programmer_->prepare(&device);
    if (status == KX6SIM_OK) return 0;
    refusal_ = programmer_->last_error();
    return sessionStopped;
}

Long SessionHost::PrepareDevice32f(Byte /*figmode*/, Byte /*zero*/) { return prepare(KX6SIM_MODULE_ARM_PRG_32F); }
Long SessionHost::PrepareDevice(Byte /*figmode*/, Byte /*zero*/) { return prepare(KX6SIM_MODULE_ARM_PRG); }

Long SessionHost::PrepareChip(Byte /*figmode*/) {
    const Long result = prepare(KX6SIM_MODULE_NONE);
    pinDriven_ = result == 0;
    return result;
}

void SessionHost::SetVcc(Long millivolts) { millivolts_ = millivolts; }
void SessionHost::SetGndPin(Byte /*pin*/, Byte /*state*/) {} // the simulated socket connects every chip
void SessionHost::PowerStep(Long /*step*/) { powered_ = pinDriven_ && millivolts_ > 0; }
void SessionHost::AlgorithmLoaded(Long /*length*/) {} // the programmer gets the image by its own download

void SessionHost::Delay(Long milliseconds) {
    if (options_.realDelays && milliseconds > 0) std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

void SessionHost::duringYield() { programmer_->advance(); }

// --- Status reports ---------------------------------------------------------------------------

bool SessionHost::PollStatus(Long /*request*/) {
    HostBlocks &to = blocks();
    if (pinDriven_ && !powered_) return false;
    do {
        if (programmer_->fetch_report(to.ibuf1.data()) == 0) return false;
        // A pin-driven chip's only report is its identity; its reader asks once for all of it.
    } while (pinDriven_ && to.ibuf1[protocol::report::event] == 0 &&
             to.ibuf1[protocol::report::progress] != protocol::finished);
    return true;
}

std::string SessionHost::trouble() const { return refusal_.empty() ? programmer_->trouble() : refusal_; }

kx6sim_counters SessionHost::counters() const {
    kx6sim_counters now{};
    programmer_->get_counters(&now);
    return now;
}

// --- Comparing --------------------------------------------------------------------------------

Long SessionHost::CompareByte(Byte data, Long address, Long /*mode*/) {
    const auto index = static_cast<std::size_t>(address);
    if (index < bufferBytes_ && buffer_[index] == data) [[likely]]
        return 0;
    return byteDiffers(data, address);
}

Long SessionHost::CompareWord(Byte low, Byte high, Long address, Long /*mode*/, Long mask) {
    const auto index = 2 * static_cast<std::size_t>(address);
    if (address >= 0 && index + 1 < bufferBytes_ && buffer_[index] == low && ((buffer_[index + 1] ^ high) & mask) == 0)
        [[likely]]
        return 0;
    return wordDiffers(low, high, address, mask);
}

Byte SessionHost::bufferByte(std::int64_t address) const {
    if (address < 0 || static_cast<std::uint64_t>(address) >= bufferBytes_) kx3::raise(ErrorNumber::subscript);
    return buffer_[static_cast<std::size_t>(address)];
}

Long SessionHost::byteDiffers(Byte device, Long address) {
    const Byte buffer = bufferByte(address);
    noteDifference(device, buffer, address);
    noteLine(address, paddedHex(device, byteDigits), paddedHex(buffer, byteDigits));
    return verdict();
}

Long SessionHost::wordDiffers(Byte low, Byte high, Long address, Long mask) {
    const std::int64_t place = 2 * std::int64_t{address};
    const Byte bufferLow = bufferByte(place);
    const Byte bufferHigh = bufferByte(place + 1);
    noteDifference(low, bufferLow, static_cast<Long>(place));
    noteDifference(static_cast<Byte>(high & mask), static_cast<Byte>(bufferHigh & mask), static_cast<Long>(place + 1));
    noteLine(address, paddedHex(high, byteDigits) + paddedHex(low, byteDigits),
             paddedHex(bufferHigh, byteDigits) + paddedHex(bufferLow, byteDigits));
    return verdict();
}

void SessionHost::noteDifference(Byte device, Byte buffer, Long address) {
    if (device == buffer) return;
    if (mismatches_.bytes++ == 0) {
        mismatches_.firstAddress = address;
        mismatches_.firstDevice = device;
        mismatches_.firstBuffer = buffer;
    }
    for (unsigned bit = 0; bit < bitsPerByte; ++bit) {
        const bool inDevice = ((device >> bit) & 1U) != 0;
        const bool inBuffer = ((buffer >> bit) & 1U) != 0;
        if (inBuffer && !inDevice) ++mismatches_.zeroInsteadOfOne;
        if (inDevice && !inBuffer) ++mismatches_.oneInsteadOfZero;
    }
}

void SessionHost::noteLine(Long address, std::u16string_view device, std::u16string_view buffer) {
    // The drivers leave the result of a comparison to the host. A stop request that stands already
    // is not lost.
    Byte &code = blocks().prgresult[resultCode];
    if (code == resultPassed) code = resultFailed;
    if (++mismatches_.lines > verifyLines) return;
    append(mismatchText_, kx3::join(u"Address:", paddedHex(address, addressDigits), u"H  Device Data:", device,
                                    u"H  Buffer Data:", buffer, u"H\n"));
    if (mismatches_.lines == verifyLines) append(mismatchText_, u"Further differences are only counted.\n");
}

Long SessionHost::verdict() const {
    const auto limit = static_cast<std::uint64_t>(std::max(options_.stopAfterMismatches, 0));
    return limit != 0 && mismatches_.bytes >= limit ? 1 : 0;
}

void SessionHost::append(Long index, std::u16string_view text) {
    if (blocks().appendText) blocks().appendText(index, text);
}

// --- Announced operations on a pin-driven chip ------------------------------------------------

/// A part of the chip and its place in the buffer.
struct SessionHost::Part {
    std::int32_t area;
    std::span<Byte> bytes; ///< of the buffer
    Long address;          ///< of its first byte in the buffer
};

SessionHost::Part SessionHost::part(std::int32_t area, std::int64_t offset, std::int64_t count) {
    const std::span<Byte> buffer = blocks().ibuffer;
    if (offset < 0 || count < 0 || offset + count > static_cast<std::int64_t>(buffer.size()))
        kx3::raise(ErrorNumber::subscript);
    return {area, buffer.subspan(static_cast<std::size_t>(offset), static_cast<std::size_t>(count)),
            static_cast<Long>(offset)};
}

std::int64_t SessionHost::mainBytes() {
    return std::int64_t{blocks().tlength.front()} * std::int64_t{blocks().wordmode.front()};
}

SessionHost::Part SessionHost::mainPart() { return part(KX6SIM_AREA_MAIN, 0, mainBytes()); }

SessionHost::Part SessionHost::configurationPart() {
    return part(KX6SIM_AREA_CONFIGURATION, mainBytes(), pinDrivenConfigurationBytes);
}

SessionHost::Part SessionHost::eepromPart() {
    const std::int64_t behindConfiguration = mainBytes() + pinDrivenConfigurationBytes;
    const std::int64_t offset = options_.eepromOffset < 0 ? behindConfiguration : options_.eepromOffset;
    return part(KX6SIM_AREA_EEPROM, offset, options_.eepromBytes);
}

bool SessionHost::programPart(const Part &part) {
    std::int32_t differs = 0;
    kx6sim_difference difference{};
    const kx6sim_status status =
        programmer_->chip_program(part.area, 0, part.bytes.data(), part.bytes.size(), &differs, &difference);
    return status == KX6SIM_OK && differs == 0;
}

bool SessionHost::readPart(const Part &part) {
    return programmer_->chip_read(part.area, 0, part.bytes.data(), part.bytes.size()) == KX6SIM_OK;
}

bool SessionHost::verifyPart(const Part &part) {
    std::array<Byte, compareChunk> chunk;
    const std::uint64_t before = mismatches_.bytes;
    for (std::size_t offset = 0; offset < part.bytes.size(); offset += chunk.size()) {
        const std::size_t count = std::min(chunk.size(), part.bytes.size() - offset);
        if (programmer_->chip_read(part.area, offset, chunk.data(), count) != KX6SIM_OK) return false;
        for (std::size_t i = 0; i < count; ++i)
            if (CompareByte(chunk[i], part.address + static_cast<Long>(offset + i), 0) != 0) return false;
    }
    return mismatches_.bytes == before;
}

bool SessionHost::chipIsBlank() {
    std::int32_t differs = 0;
    kx6sim_difference difference{};
    return programmer_->chip_blank_check(&differs, &difference) == KX6SIM_OK && differs == 0;
}

bool SessionHost::programData() { return programPart(mainPart()) && programPart(eepromPart()); }

bool SessionHost::verifyData() {
    // Both parts always: the count of differing bytes is to be complete.
    const bool mainMatches = verifyPart(mainPart());
    return verifyPart(eepromPart()) && mainMatches;
}

bool SessionHost::programConfiguration() { return programPart(configurationPart()) && verifyPart(configurationPart()); }

bool SessionHost::autoProgram() {
    return programmer_->chip_erase() == KX6SIM_OK && chipIsBlank() && programData() && verifyData() &&
           programConfiguration() && (!options_.protectInAuto || programmer_->chip_protect() == KX6SIM_OK);
}

std::optional<bool> SessionHost::perform(Operation operation) {
    switch (operation) {
    case Operation::read: return readPart(mainPart()) && readPart(eepromPart()) && readPart(configurationPart());
    case Operation::program: return programData();
    case Operation::blankCheck: return chipIsBlank();
    case Operation::verify: return verifyData();
    case Operation::autoSequence:
    case Operation::autoProgram: return autoProgram();
    case Operation::protect: return programmer_->chip_protect() == KX6SIM_OK;
    case Operation::erase: return programmer_->chip_erase() == KX6SIM_OK;
    case Operation::programConfiguration: return programConfiguration();
    case Operation::checkConfiguration: return verifyPart(configurationPart());
    }
    return std::nullopt;
}

void SessionHost::carryOut(Long operation) {
    Byte &code = blocks().prgresult[resultCode];
    if (!powered_ || operation < 0 || operation > std::numeric_limits<Byte>::max()) {
        code = powered_ ? resultError : resultFailed;
        return;
    }
    const auto announced = static_cast<Operation>(operation);
    mismatches_ = {};
    // Only a verify shows the second text at its end; what others find goes into the log at once.
    mismatchText_ = announced == Operation::verify ? verifyText : logText;
    const std::optional<bool> passed = perform(announced);
    if (!passed)
        code = resultError;
    else if (!*passed && code == resultPassed)
        code = resultFailed;
}

} // namespace kx3sim
