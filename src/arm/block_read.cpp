#include "arm/arm_driver.h"
#include "arm/block_geometry.h"
#include "arm/block_run.h"
#include "arm/verify_ranges.h"
#include "context/session_report.h"
#include "outside/session_host.h"

namespace kx3 {

namespace {

/// The programmer's own work counts for this share of a block, in percent; the chunks for the rest.
constexpr Long runShare = 85;
constexpr Long wholeRun = 100;
/// Modes of a bulk read besides that into the device buffer.
constexpr Integer intoDeviceBuffer = 0;
constexpr Long shortRead = 0x41;

/// Arguments of a comparison: the operation's number less 2, and the bits that count.
constexpr Long verifyMode = 3;
constexpr Long wordMask = 0xFF;
constexpr Long stopVerify = 1;

VerifyRanges verifyRanges(const BlockArrays &blocks) {
    return VerifyRanges::of(
        {blocks.prgmode(0), blocks.tlength(0), blocks.bvcch(0), blocks.woption(0), blocks.pagelength(0)});
}

// The two loops of a verify. Beside the host's own call a byte or word costs a few instructions; unrolled,
// they do not depend on where the linker puts them: a jump back after every call cost a fifth in half of
// all processes.

[[gnu::noinline]] bool compareRun(SessionHost &host, std::span<const Byte> data, Long address) {
#pragma GCC unroll 4
    for (std::size_t i = 0; i < data.size(); ++i)
        if (host.CompareByte(data[i], address + static_cast<Long>(i), verifyMode) == stopVerify) return false;
    return true;
}

[[gnu::noinline]] bool compareWordRun(SessionHost &host, std::span<const Byte> data, Long address) {
#pragma GCC unroll 4
    for (std::size_t i = 0; i + 1 < data.size(); i += 2)
        if (host.CompareWord(data[i], data[i + 1], address + static_cast<Long>(i / 2), verifyMode, wordMask) ==
            stopVerify)
            return false;
    return true;
}

/// One ReadBlocks call.
class BlockReader {
  public:
    explicit BlockReader(ArmDriver &driver)
        : driver_(driver), verify_(driver.isOperation(ArmOperation::verify)),
          mode_(static_cast<Integer>(driver.operation() - 2)),
          geometry_(driver.blocks(), driver.profile.readChunk,
                    verify_ ? EndRounding::largeDevices : EndRounding::never),
          ranges_(verify_ ? verifyRanges(driver.blocks()) : VerifyRanges()) {}

    Outcome run() {
        const RunEnd end = readAllBlocks();
        if (end == RunEnd::fatal) return Outcome::fatal;
        if (end == RunEnd::complete) driver_.setProgress(wholeRun);
        close();
        return Outcome::finished;
    }

  private:
    RunEnd readAllBlocks();
    RunEnd awaitRun(Long block);
    RunEnd receive(Long block);
    /// False when the host stopped the verify.
    [[nodiscard]] bool compare(const Chunk &chunk);
    [[nodiscard]] bool compareBytes(const Chunk &chunk, std::span<const Byte> data);
    [[nodiscard]] bool compareWords(const Chunk &chunk, std::span<const Byte> data);
    Outcome ReadBulkRetry(const Chunk &chunk);
    [[nodiscard]] BulkRead readOnce(const Chunk &chunk);
    void close();
    void showProgress(Long block, Checked percentOfBlock) {
        driver_.setProgress((Checked(wholeRun) * block + percentOfBlock) / (Checked(geometry_.lastBlock()) + 1));
    }

    ArmDriver &driver_;
    bool verify_;
    Integer mode_; ///< operation number less 2
    BlockGeometry geometry_;
    VerifyRanges ranges_;
};

RunEnd BlockReader::readAllBlocks() {
    for (Long block = 0;; ++block) {
        driver_.link.clearReport(2);
        const Byte code = driver_.isOperation(ArmOperation::read) ? driver_.operation() : driver_.runCode();
        driver_.link.run({code, block, geometry_.isLast(block)});
        RunEnd end = awaitRun(block);
        if (end == RunEnd::complete) end = receive(block);
        if (end != RunEnd::complete || geometry_.isLast(block)) return end;
    }
}

RunEnd BlockReader::awaitRun(Long block) {
    return awaitBlockRun(
        driver_, [] {}, [&] { showProgress(block, Checked(driver_.link.progress()) * runShare / wholeRun); });
}

RunEnd BlockReader::receive(Long block) {
    const Long last = geometry_.lastReadChunk(block);
    const bool askEachChunk = driver_.profile.readRequest == ReadRequest::oncePerChunk;
    if (!askEachChunk) driver_.link.requestData(0);
    for (Long k = 0; k <= last; ++k) {
        if (askEachChunk) driver_.link.requestData(k);
        const Chunk chunk = geometry_.chunk(block, k, last);
        if (ReadBulkRetry(chunk) == Outcome::fatal) return RunEnd::fatal;
        if (verify_ && !compare(chunk)) {
            driver_.context.report.differs = true;
            return RunEnd::ended;
        }
        showProgress(block, Checked(runShare) + k);
    }
    return RunEnd::complete;
}

BulkRead BlockReader::readOnce(const Chunk &chunk) {
    sharemap &blocks = driver_.blocks();
    driver_.link.clearReadState();
    const bool isShort = mode_ == 2 || mode_ == 5;
    const Long count = isShort ? shortRead : chunk.count;
    const std::span<Byte> destination =
        mode_ == intoDeviceBuffer ? blocks.ibuffer.range(chunk.offset, chunk.count) : blocks.ibuf2.range(0, count);
    return driver_.link.readBulk(destination.data(), count,
                                 [this] { return driver_.stopRequested() || driver_.hasResult(ResultCode::error); });
}

Outcome BlockReader::ReadBulkRetry(const Chunk &chunk) {
    BulkRead end = readOnce(chunk);
    if (end == BulkRead::failed) end = readOnce(chunk);
    return end == BulkRead::complete ? Outcome::finished : Outcome::fatal;
}

bool BlockReader::compare(const Chunk &chunk) {
    const std::span<const Byte> data = driver_.blocks().ibuf2.range(0, chunk.count);
    // The last address of the chunk must be one.
    (void)(Checked(chunk.offset) + chunk.count).value();
    return driver_.blocks().wordmode(0) == 1 ? compareBytes(chunk, data) : compareWords(chunk, data);
}

bool BlockReader::compareBytes(const Chunk &chunk, std::span<const Byte> data) {
    return ranges_.forEachRun(
        chunk.offset, std::int64_t{chunk.offset} + chunk.count, [&](std::int64_t from, std::int64_t to) {
            const std::span<const Byte> run =
                data.subspan(static_cast<std::size_t>(from - chunk.offset), static_cast<std::size_t>(to - from));
            return compareRun(*driver_.context.sessionHost, run, static_cast<Long>(from));
        });
}

bool BlockReader::compareWords(const Chunk &chunk, std::span<const Byte> data) {
    const Long words = (Checked(chunk.count) / driver_.blocks().wordmode(0)).value();
    return compareWordRun(*driver_.context.sessionHost, data.first(static_cast<std::size_t>(words) * 2),
                          chunk.offset / 2);
}

void BlockReader::close() {
    sharemap &blocks = driver_.blocks();
    if (verify_) {
        driver_.context.replaceLogByExtraOutput();
        return;
    }
    const Long first = blocks.buflength(0);
    for (Long i = 0; i < ProgrammerLink::configurationBytes; ++i) {
        Byte &place = blocks.ibuffer((Checked(first) + i).value());
        place = driver_.link.takeConfigurationByte(i);
    }
}

} // namespace

Outcome ReadBlocks(ArmDriver &driver) { return BlockReader(driver).run(); }

} // namespace kx3
