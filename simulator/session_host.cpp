#include "simulator/session_host.h"

#include "base/checked.h"
#include "base/error.h"
#include "base/text.h"
#include "simulator/protocol.h"

#include <algorithm>
#include <array>
#include <bit>
#include <limits>
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
constexpr std::size_t addressDigits = 8;
constexpr std::size_t byteDigits = 2;
constexpr Byte allBits = 0xFF;

unsigned bitsIn(int bits) { return static_cast<unsigned>(std::popcount(static_cast<unsigned>(bits))); }

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

void check(kx6sim_status status) {
    if (status != KX6SIM_OK) kx3::raise(errorNumber(status), kx3::fromUtf8(kx6sim_last_error()));
}

bool chipIsBlank() {
    std::int32_t differs = 0;
    kx6sim_difference difference{};
    return kx6sim_chip_blank_check(&differs, &difference) == KX6SIM_OK && differs == 0;
}

bool eraseChip() { return kx6sim_chip_erase() == KX6SIM_OK; }
bool protectChip() { return kx6sim_chip_protect() == KX6SIM_OK; }

} // namespace

SessionHost::SessionHost(Options options) : options_(std::move(options)) {
    (void)identityOf(options_);
    kx6sim_reset();
    kx6sim_set_firmware_version(options_.firmwareVersion);
    check(kx6sim_set_faults(options_.faults.c_str(), options_.seed));
}

void SessionHost::setBlocks(HostBlocks blocks) {
    blocks_ = std::move(blocks);
    buffer_ = blocks_.ibuffer.data();
    bufferBytes_ = blocks_.ibuffer.size();
}

HostBlocks &SessionHost::blocks() {
    if (blocks_.ibuf1.size() < KX6SIM_REPORT_BYTES) kx3::raise(ErrorNumber::objectNotSet);
    return blocks_;
}

// --- Start and end ----------------------------------------------------------------------------

Long SessionHost::StartCheck() {
    (void)blocks();
    signal_ = Signal::none;
    mismatches_ = {};
    mismatchText_ = verifyText;
    refusal_.clear();
    kx6sim_end_operation();
    powerDown();
    if (kx6sim_start_check() == 0) return 0;
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
    kx6sim_counters counters{};
    kx6sim_get_counters(&counters);
    const std::uint64_t left = counters.unfetched_bytes;
    if (left == 0 || blocks().prgresult[resultCode] != resultPassed) return;
    blocks().prgresult[resultCode] = resultFailed;
    append(logText, kx3::join(u">>", kx3::fromUtf8(std::to_string(left)), u" bytes of the device were not read\n"));
}

void SessionHost::EndOperation() {
    failWhenDataWereLeft();
    kx6sim_end_operation();
    powerDown();
    saveChip();
}

void SessionHost::SignalPass(Long /*value*/) { signal_ = Signal::pass; }
void SessionHost::SignalFail(Long /*value*/) { signal_ = Signal::fail; }
void SessionHost::ReportStartFailure() { signal_ = Signal::startFailure; }

void SessionHost::saveChip() {
    if (!options_.chipFile || kx6sim_chip_changed() == 0) return;
    check(kx6sim_save_chip(utf8(*options_.chipFile).c_str()));
}

// --- Preparation and power --------------------------------------------------------------------

/// Put the chip into the socket when there is none yet. A chip that lives in memory is as large as
/// the device; another device gets another chip.
kx6sim_status SessionHost::insertChip(const kx6sim_geometry &geometry) {
    if (geometry.addresses <= 0 || geometry.bytes_per_address <= 0 || geometry.eeprom_bytes < 0)
        return KX6SIM_OK; // the preparation says what is wrong with it
    const auto bytes =
        static_cast<std::uint64_t>(geometry.addresses) * static_cast<std::uint64_t>(geometry.bytes_per_address);
    const auto eepromBytes = static_cast<std::uint64_t>(geometry.eeprom_bytes);
    const std::uint64_t inSocket = kx6sim_area_bytes(KX6SIM_AREA_MAIN);
    if (options_.chipFile) {
        if (inSocket != 0) return KX6SIM_OK;
        const kx6sim_status loaded = kx6sim_load_chip(utf8(*options_.chipFile).c_str());
        if (loaded != KX6SIM_FILE_MISSING) return loaded;
    } else if (inSocket == bytes && kx6sim_area_bytes(KX6SIM_AREA_EEPROM) == eepromBytes) {
        return KX6SIM_OK;
    }
    const kx6sim_identity identity = identityOf(options_);
    return kx6sim_insert_blank_chip(bytes, eepromBytes, &identity);
}

Long SessionHost::prepare(std::uint8_t module) {
    const HostBlocks &from = blocks();
    kx6sim_geometry device{};
    device.addresses = from.tlength.front();
    device.bytes_per_address = from.wordmode.front();
    device.block_addresses = from.ramlg.front();
    device.first_address = firstAddress(from.wltbigendbuf.front());
    device.verify_margin = from.wlverifyvcc.front();
    device.eeprom_bytes = options_.eepromBytes;
    device.bank = from.rambknum.front();
    device.family = from.prgmode.front();
    device.module = module;
    if (insertChip(device) == KX6SIM_OK && kx6sim_prepare(&device) == KX6SIM_OK) return 0;
    refusal_ = kx6sim_last_error();
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

void SessionHost::Delay(Long /*milliseconds*/) {} // everything is immediate
// NOLINTNEXTLINE(readability-convert-member-functions-to-static): each host has its own yields
void SessionHost::duringYield() { kx6sim_advance(); }

// --- Status reports ---------------------------------------------------------------------------

bool SessionHost::PollStatus(Long /*request*/) {
    HostBlocks &to = blocks();
    if (pinDriven_ && !powered_) return false;
    do {
        if (kx6sim_fetch_report(to.ibuf1.data()) == 0) return false;
        // A pin-driven chip's only report is its identity; its reader asks once for all of it.
    } while (pinDriven_ && to.ibuf1[protocol::report::event] == 0 &&
             to.ibuf1[protocol::report::progress] != protocol::finished);
    return true;
}

std::string SessionHost::trouble() const { return refusal_.empty() ? kx6sim_trouble() : refusal_; }

// --- Comparing --------------------------------------------------------------------------------

Long SessionHost::CompareByte(Byte data, Long address, Long /*mode*/) {
    const auto index = static_cast<std::size_t>(address);
    if (index >= bufferBytes_ || buffer_[index] != data) [[unlikely]]
        noteDifference(address, address, {&data, 1}, allBits);
    return 0;
}

Long SessionHost::CompareWord(Byte low, Byte high, Long address, Long /*mode*/, Long mask) {
    const auto index = 2 * static_cast<std::size_t>(address);
    if (address < 0 || index + 1 >= bufferBytes_ || buffer_[index] != low || ((buffer_[index + 1] ^ high) & mask) != 0)
        [[unlikely]]
        noteDifference(address, 2 * std::int64_t{address}, std::array{low, high}, static_cast<Byte>(mask));
    return 0;
}

Byte SessionHost::bufferByte(std::int64_t place) const {
    if (place < 0 || static_cast<std::uint64_t>(place) >= bufferBytes_) kx3::raise(ErrorNumber::subscript);
    return buffer_[static_cast<std::size_t>(place)];
}

/// `device` stands at `address`, whose first byte is byte `place` of the buffer; `mask` has the bits of its
/// last byte that count.
void SessionHost::noteDifference(Long address, std::int64_t place, std::span<const Byte> device, Byte mask) {
    std::u16string inDevice;
    std::u16string inBuffer;
    for (std::size_t i = device.size(); i-- > 0;) {
        inDevice += paddedHex(device[i], byteDigits);
        inBuffer += paddedHex(bufferByte(place + static_cast<std::int64_t>(i)), byteDigits);
    }
    for (std::size_t i = 0; i < device.size(); ++i) {
        const Byte counts = i + 1 < device.size() ? allBits : mask;
        const std::int64_t at = place + static_cast<std::int64_t>(i);
        countDifference(device[i] & counts, bufferByte(at) & counts, at);
    }
    // The drivers leave the result of a comparison to the host. A stop request that stands already
    // is not lost.
    Byte &code = blocks().prgresult[resultCode];
    if (code == resultPassed) code = resultFailed;
    if (++mismatches_.comparisons <= verifyLines)
        append(mismatchText_, kx3::join(u"Address:", paddedHex(address, addressDigits), u"H  Device Data:", inDevice,
                                        u"H  Buffer Data:", inBuffer, u"H\n"));
    if (mismatches_.comparisons == verifyLines) append(mismatchText_, u"Further differences are only counted.\n");
}

void SessionHost::countDifference(Byte device, Byte buffer, std::int64_t place) {
    if (device == buffer) return;
    if (mismatches_.bytes++ == 0) {
        mismatches_.firstAddress = static_cast<Long>(place);
        mismatches_.firstDevice = device;
        mismatches_.firstBuffer = buffer;
    }
    mismatches_.zeroInsteadOfOne += bitsIn(buffer & ~device);
    mismatches_.oneInsteadOfZero += bitsIn(device & ~buffer);
}

void SessionHost::append(Long index, std::u16string_view text) {
    if (blocks().appendText) blocks().appendText(index, text);
}

// --- Announced operations on a pin-driven chip ------------------------------------------------

std::span<Byte> SessionHost::partOf(std::int32_t area) {
    const std::int64_t main = std::int64_t{blocks().tlength.front()} * blocks().wordmode.front();
    const struct {
        std::int64_t offset, count;
    } parts[] = {
        {0, main}, {main + pinDrivenConfigurationBytes, options_.eepromBytes}, {main, pinDrivenConfigurationBytes}};
    const auto [offset, count] = parts[area];
    if (offset < 0 || count < 0 || offset + count > static_cast<std::int64_t>(bufferBytes_))
        kx3::raise(ErrorNumber::subscript);
    return blocks().ibuffer.subspan(static_cast<std::size_t>(offset), static_cast<std::size_t>(count));
}

bool SessionHost::program(std::int32_t area) {
    const std::span<Byte> part = partOf(area);
    std::int32_t differs = 0;
    kx6sim_difference difference{};
    return kx6sim_chip_program(area, 0, part.data(), part.size(), &differs, &difference) == KX6SIM_OK && differs == 0;
}

bool SessionHost::read(std::int32_t area) {
    const std::span<Byte> part = partOf(area);
    return kx6sim_chip_read(area, 0, part.data(), part.size()) == KX6SIM_OK;
}

bool SessionHost::verify(std::int32_t area) {
    const std::span<Byte> part = partOf(area);
    std::array<Byte, compareChunk> chunk;
    const std::uint64_t before = mismatches_.bytes;
    for (std::size_t offset = 0; offset < part.size(); offset += chunk.size()) {
        const std::size_t count = std::min(chunk.size(), part.size() - offset);
        if (kx6sim_chip_read(area, offset, chunk.data(), count) != KX6SIM_OK) return false;
        for (std::size_t i = 0; i < count; ++i)
            (void)CompareByte(chunk[i], static_cast<Long>(&part[offset + i] - buffer_), 0);
    }
    return mismatches_.bytes == before;
}

bool SessionHost::programData() { return program(KX6SIM_AREA_MAIN) && program(KX6SIM_AREA_EEPROM); }

bool SessionHost::verifyData() {
    // Both areas always: the count of differing bytes is to be complete.
    const bool mainMatches = verify(KX6SIM_AREA_MAIN);
    return verify(KX6SIM_AREA_EEPROM) && mainMatches;
}

bool SessionHost::programConfiguration() {
    return program(KX6SIM_AREA_CONFIGURATION) && verify(KX6SIM_AREA_CONFIGURATION);
}

bool SessionHost::perform(Operation operation) {
    switch (operation) {
    case Operation::read: return read(KX6SIM_AREA_MAIN) && read(KX6SIM_AREA_EEPROM) && read(KX6SIM_AREA_CONFIGURATION);
    case Operation::program: return programData();
    case Operation::blankCheck: return chipIsBlank();
    case Operation::verify: return verifyData();
    case Operation::autoSequence:
    case Operation::autoProgram:
        return eraseChip() && chipIsBlank() && programData() && verifyData() && programConfiguration();
    case Operation::protect: return protectChip();
    case Operation::erase: return eraseChip();
    case Operation::programConfiguration: return programConfiguration();
    case Operation::checkConfiguration: return verify(KX6SIM_AREA_CONFIGURATION);
    }
    blocks().prgresult[resultCode] = resultError; // there is no such operation
    return false;
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
    if (!perform(announced) && code == resultPassed) code = resultFailed;
}

} // namespace kx3sim
