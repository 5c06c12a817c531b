#include "arm/programmer_link.h"

#include "base/checked.h"
#include "outside/driver_table.h"
#include "outside/programmer_io.h"
#include "outside/session_host.h"
#include "outside/ui.h"

namespace kx3 {

namespace {

// First byte of a packet: the group of commands.
constexpr Byte signatureGroup = 0x5A;
constexpr Byte algorithmGroup = 0x33;
constexpr Byte operationGroup = 0x34;
constexpr Byte dataGroup = 0x0A;

constexpr Byte algorithmMemory = 0x01;
constexpr Byte toProgrammer = 0x80;
constexpr Byte fromProgrammer = 0x40;
constexpr Byte versionQuery = 0x1A;
constexpr Byte versionLength = 0x10;
constexpr Byte chipIdRead = 0x1D;
constexpr Byte stopCommand = 0x1E;
constexpr Byte firstBank = 1;
constexpr Byte secondBank = 2;
constexpr Byte lastBlockMark = 0x80;

// Packet sizes.
constexpr Long shortPacket = 4;
constexpr Long packet = 8;
constexpr Long longPacket = 16;

// Places in packets and reports.
constexpr Long configurationInPacket = 5;
constexpr Long configurationInReport = 2;
constexpr Long deviceCodeCountInReport = 2;
constexpr Long deviceCodeInReport = 4;
constexpr Long addressInReport = 3;
constexpr Long deviceDataInReport = 7;
constexpr Long bufferDataInReport = 9;

constexpr std::size_t bufferAddressWidth = 8;

/// Families whose configuration bytes are the last ones of the image instead of those behind it.
bool endsWithConfiguration(Byte family) { return family >= 0x1B && family <= 0x1D; }

} // namespace

Integer ProgrammerLink::send(std::initializer_list<Byte> bytes, Long count) {
    Array<Byte> &ubuf1 = context_.blocks.ubuf1;
    const std::span<Byte> whole = ubuf1.range(0, count);
    std::copy(bytes.begin(), bytes.end(), whole.begin());
    return context_.io.usbcomwrite(whole.data(), count);
}

void ProgrammerLink::sendSignature() {
    const Array<Byte> &wsign = context_.blocks.wsign;
    send({signatureGroup, (Checked(wsign(1)) + wsign(2)).toByte()}, packet);
}

void ProgrammerLink::announceAlgorithmDownload() { send({algorithmGroup, algorithmMemory, toProgrammer}, packet); }

void ProgrammerLink::announceAlgorithmReadBack() { send({algorithmGroup, algorithmMemory, fromProgrammer}, packet); }

void ProgrammerLink::queryVersion() { send({operationGroup, versionQuery, 0, versionLength, 0}, longPacket); }

void ProgrammerLink::requestChipId() { send({operationGroup, chipIdRead, bank(), 0, 0}, longPacket); }

Byte ProgrammerLink::bankCode() const { return bank() == 1 ? secondBank : firstBank; }

Integer ProgrammerLink::announceDataToBank() { return send({dataGroup, 0, toProgrammer, bankCode()}, shortPacket); }

Integer ProgrammerLink::announceBlockData() {
    return send({dataGroup, 0, toProgrammer, profile_.announcesBank ? bankCode() : secondBank}, shortPacket);
}

void ProgrammerLink::requestData(Long chunk) {
    if (profile_.readRequest == ReadRequest::oncePerBlock)
        send({dataGroup, 0, fromProgrammer, secondBank}, packet);
    else
        send({dataGroup, narrow<Byte>(chunk), fromProgrammer, bankCode()}, packet);
}

void ProgrammerLink::run(const RunCommand &command) {
    constexpr Long byteValues = 256;
    const Byte mark = command.lastBlock ? lastBlockMark : Byte{0};
    const auto low = static_cast<Byte>(command.block & 0xFF);
    const Byte high = narrow<Byte>(command.block / byteValues);
    send({operationGroup, command.code, static_cast<Byte>(bank() | mark), low, high}, longPacket);
}

void ProgrammerLink::stop() { send({operationGroup, stopCommand}, packet); }

void ProgrammerLink::captureConfiguration() {
    sharemap &blocks = context_.blocks;
    const Checked end = Checked(blocks.wordmode(0)) * blocks.tlength(0);
    const bool inside = endsWithConfiguration(blocks.prgmode(0));
    const Checked first = inside ? end - (configurationBytes - 1) : end;
    for (Long i = 0; i < configurationBytes; ++i)
        blocks.ubuf1(configurationInPacket + i) = blocks.ibuffer((first + i).value());
}

void ProgrammerLink::startBulkRead(Byte *destination, Long count) {
    context_.io.usbbulkread(destination, count, &context_.blocks.usbpip2readresult(0));
}

void ProgrammerLink::yield() { context_.ui.yield(); }

bool ProgrammerLink::poll() {
    yield();
    return context_.sessionHost->PollStatus(statusRequest);
}

void ProgrammerLink::clearReport(Long count) {
    for (Long i = 0; i < count; ++i)
        context_.blocks.ibuf1(i) = 0;
}

Byte ProgrammerLink::takeConfigurationByte(Long index) {
    Byte &place = context_.blocks.ibuf1(configurationInReport + index);
    const Byte value = place;
    place = 0;
    return value;
}

std::u16string ProgrammerLink::digits(Byte value) const { return context_.io.datstr(value, 2); }

std::u16string ProgrammerLink::deviceCodeText() const {
    const Long last = report(deviceCodeCountInReport);
    std::u16string text;
    for (Long i = 0; i <= last; ++i)
        text += digits(report(deviceCodeInReport + i));
    return text;
}

std::u16string ProgrammerLink::addressDigits() const {
    std::u16string text;
    for (Long i = 3; i >= 0; --i)
        text += digits(report(addressInReport + i));
    return text;
}

std::u16string ProgrammerLink::dataDigits(Long lowByte) const {
    const std::u16string high = byteWide() ? std::u16string() : digits(report(lowByte + 1));
    return join(high, digits(report(lowByte)));
}

// Each library call has a statement of its own: the order of a function's arguments is the compiler's,
// that of the outside calls is not.

std::u16string ProgrammerLink::compareErrorLine() const {
    const std::u16string address = addressDigits();
    const std::u16string deviceData = dataDigits(deviceDataInReport);
    return join(context_.text(textDeviceAddress), address, context_.text(textDeviceData), deviceData, u"H");
}

std::u16string ProgrammerLink::wordBufferAddress() const {
    std::uint32_t address = 0;
    for (Long i = 3; i >= 0; --i)
        address = address << 8 | report(addressInReport + i);
    std::u16string text = hex((Checked(static_cast<Long>(address)) * 2).value());
    text.resize(std::max(text.size(), bufferAddressWidth), u' ');
    return text;
}

std::u16string ProgrammerLink::programErrorLine() const {
    const std::u16string address = addressDigits();
    const std::u16string deviceData = dataDigits(deviceDataInReport);
    const std::u16string inBuffer = byteWide() ? address : wordBufferAddress();
    const std::u16string bufferData = dataDigits(bufferDataInReport);
    return join(context_.text(textDeviceAddress), address, context_.text(textDeviceData), deviceData,
                context_.text(textBufferAddress), inBuffer, context_.text(textBufferData), bufferData, u"H");
}

} // namespace kx3
