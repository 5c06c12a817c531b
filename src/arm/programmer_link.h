// Command packets to the programmer, and its status reports.
#pragma once

#include "blocks/sharemap.h"
#include "context/context.h"

namespace kx3 {

struct ArmProfile;

/// How a bulk read ended.
enum class BulkRead : Byte {
    complete,
    failed,      ///< the library says so
    interrupted, ///< the caller gave up waiting
};

/// Event codes of a status report.
enum class Event : Byte {
    compareError = 0xFA, ///< compare or program error at an address
    idError = 0xF9,      ///< the programmer's own ID check failed
    stopped = 0x1E,      ///< the operation was stopped
};

/// Stage codes of a status report while an operation runs.
enum class Stage : Byte {
    erase = 0x1E,
    blankCheck = 0x28,
    program = 0x32,
    verify = 0x3C,
    configuration = 0x46,
    protection = 0x50,
};

/// What a run command starts.
struct RunCommand {
    Byte code;              ///< as the programmer numbers operations
    Long block = 0;         ///< index of the block
    bool lastBlock = false; ///< marks the bank byte
};

/// Builds the packets in block `ubuf1`, sends them, and reads the latest report in `ibuf1`. A packet
/// writes only the bytes it is made of; the others go out as they stand, so that the device
/// configuration bytes captured once ride in every 16-byte packet of the session.
class ProgrammerLink {
  public:
    /// Number of device configuration bytes.
    static constexpr Long configurationBytes = 11;

    ProgrammerLink(Context &context, const ArmProfile &profile) noexcept : context_(context), profile_(profile) {}

    /// Raises Overflow when the two halves of the signature do not fit a byte.
    void sendSignature();
    void announceAlgorithmDownload();
    void announceAlgorithmReadBack();
    void queryVersion();
    void requestChipId();
    /// Announce a bulk write of device data to the bank in `rambknum`; gives the library's status.
    Integer announceDataToBank();
    /// The same before the blocks of an operation: the bank depends on the profile.
    Integer announceBlockData();
    /// Ask for the data of a block; `chunk` counts only where the profile asks once a chunk.
    void requestData(Long chunk);
    void run(const RunCommand &command);
    void stop();
    /// Copy the device configuration bytes from the device buffer into the packet.
    void captureConfiguration();

    /// Clear the state of bulk reads, before each one.
    void clearReadState() { context_.blocks.usbpip2readresult(0) = 0; }
    /// Receive `count` bytes into `destination`; return when they have come. After every yield
    /// `interrupted()` may give up.
    template <class Interrupted>
    [[nodiscard]] BulkRead readBulk(Byte *destination, Long count, Interrupted interrupted) {
        startBulkRead(destination, count);
        for (;;) {
            yield();
            const Byte state = context_.blocks.usbpip2readresult(0);
            if (state > highestReadState) return BulkRead::failed;
            if (interrupted()) return BulkRead::interrupted;
            if (state == readComplete) return BulkRead::complete;
        }
    }

    /// Yield once, then fetch a report. False when none came.
    [[nodiscard]] bool poll();
    /// Wipe the first `count` bytes of the latest report before a new command.
    void clearReport(Long count);

    [[nodiscard]] Byte progress() const { return report(0); }
    [[nodiscard]] bool finished() const { return progress() == finishedProgress; }
    [[nodiscard]] bool hasEvent(Event event) const { return report(1) == static_cast<Byte>(event); }
    [[nodiscard]] Byte stage() const { return report(2); }
    [[nodiscard]] bool inStage(Stage stage) const { return report(2) == static_cast<Byte>(stage); }
    [[nodiscard]] Byte verifyPass() const { return report(3); }
    [[nodiscard]] Byte firmwareVersion() const { return report(2); }
    [[nodiscard]] Byte makerCode() const { return report(3); }
    [[nodiscard]] Byte deviceCode() const { return report(4); }
    /// Maker code, then all device-code bytes, two digits each.
    [[nodiscard]] std::u16string makerText() const { return digits(makerCode()); }
    [[nodiscard]] std::u16string deviceCodeText() const;
    /// Move configuration byte `index` out of a report at the end of a read.
    [[nodiscard]] Byte takeConfigurationByte(Long index);

    /// ">>Device Address:" line of a compare error: address and device data.
    [[nodiscard]] std::u16string compareErrorLine() const;
    /// The same with buffer address and buffer data, for an error while programming.
    [[nodiscard]] std::u16string programErrorLine() const;

  private:
    static constexpr Byte finishedProgress = 100;
    // States of a bulk read.
    static constexpr Byte readComplete = 2;
    static constexpr Byte highestReadState = 3;

    void startBulkRead(Byte *destination, Long count);
    void yield();
    Integer send(std::initializer_list<Byte> bytes, Long count);
    [[nodiscard]] Byte report(Long index) const { return context_.blocks.ibuf1(index); }
    [[nodiscard]] Byte bank() const { return context_.blocks.rambknum(0); }
    [[nodiscard]] Byte bankCode() const;
    [[nodiscard]] bool byteWide() const { return context_.blocks.wordmode(0) == 1; }
    [[nodiscard]] std::u16string digits(Byte value) const;
    [[nodiscard]] std::u16string addressDigits() const;
    [[nodiscard]] std::u16string dataDigits(Long lowByte) const;
    /// Twice the reported address, without leading zeros, padded with blanks.
    [[nodiscard]] std::u16string wordBufferAddress() const;

    Context &context_;
    const ArmProfile &profile_;
};

} // namespace kx3
