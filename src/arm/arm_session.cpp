#include "arm/arm_session.h"

#include <algorithm>

namespace kx3 {

namespace {

constexpr Byte startRefused = 1;
constexpr Byte preparationRefused = 2;
/// States of a bulk read.
constexpr Byte readComplete = 2;
constexpr Byte highestReadState = 3;

constexpr std::u16string_view algorithmFileError = u"Read algo file error!";
constexpr std::u16string_view updateWarning = u"\nProgrammer soft need update now !!!\n\n";

/// Progress is reset whatever way a session ends, also when its error path fails.
class ProgressReset {
  public:
    explicit ProgressReset(sharemap &blocks) noexcept : blocks_(blocks) {}
    ~ProgressReset() {
        if (blocks_.prgmode.count() > 1) blocks_.prgmode(1) = 0;
    }
    ProgressReset(const ProgressReset &) = delete;
    ProgressReset &operator=(const ProgressReset &) = delete;

  private:
    sharemap &blocks_;
};

} // namespace

void ArmSession::run() {
    const ProgressReset reset(driver_.blocks());
    start_ = driver_.context.clock.secondsSinceMidnight();
    failure_.clear();
    try {
        finish(perform());
    } catch (...) {
        failure_ = describeCurrentException().description;
        finish(End::aborted);
    }
}

ArmSession::End ArmSession::perform() {
    if (!mayStart()) return End::aborted;
    const std::optional<AlgorithmImage> image = loadAlgorithm(driver_.blocks(), driver_.profile);
    if (!image) {
        driver_.context.logLine(algorithmFileError);
        return End::timed;
    }
    return operate(*image);
}

bool ArmSession::mayStart() {
    const sharemap &blocks = driver_.blocks();
    SessionHost &host = *driver_.context.sessionHost;
    if (narrow<Byte>(host.StartCheck()) == startRefused) return false;
    if (blocks.figvol(1) == blocks.modeltype(2)) driver_.link.sendSignature();
    return narrow<Byte>((host.*driver_.profile.prepareDevice)(blocks.figmode(0), 0)) != preparationRefused;
}

ArmSession::End ArmSession::operate(const AlgorithmImage &image) {
    SessionHost &host = *driver_.context.sessionHost;
    sharemap &blocks = driver_.blocks();
    host.AlgorithmLoaded(image.length);
    if (!download(image)) return End::aborted;
    if (!checkVersion()) return End::fatal;
    driver_.link.captureConfiguration();
    if (blocks.chipidtestmode(0) && ReadChipId(driver_) == IdCheck::aborted) {
        host.EndOperation();
        driver_.setResult(ResultCode::stopped);
        return End::silent;
    }
    driver_.context.logLine(u">>", readText(blocks.prgnote, 0), readText(blocks.MainmnuPrg, driver_.operation()),
                            readText(blocks.prgnote, 1));
    return dispatch() == Outcome::fatal ? End::fatal : End::result;
}

bool ArmSession::download(const AlgorithmImage &image) {
    constexpr Integer transferFailed = 1;
    sharemap &blocks = driver_.blocks();
    ProgrammerIo &io = driver_.context.io;
    driver_.link.announceAlgorithmDownload();
    if (io.usbbulkwrite(blocks.algobuf.range(0, image.length).data(), image.length) == transferFailed) return false;

    readBack_.resize(std::max(readBack_.size(), static_cast<std::size_t>(image.readBackLength)));
    driver_.link.announceAlgorithmReadBack();
    Byte &state = blocks.usbpip2readresult(0);
    state = 0;
    io.usbbulkread(readBack_.data(), image.length + 1, &state);
    if (!awaitReadBack()) return false;
    const std::span<const Byte> sent = blocks.algobuf.range(0, image.length);
    return std::equal(sent.begin(), sent.end(), readBack_.begin());
}

bool ArmSession::awaitReadBack() {
    for (;;) {
        driver_.context.ui.yield();
        const Byte state = driver_.blocks().usbpip2readresult(0);
        if (state > highestReadState) return false;
        if (state == readComplete) return true;
    }
}

bool ArmSession::checkVersion() {
    driver_.link.queryVersion();
    do {
        if (!driver_.link.poll()) return false;
    } while (!driver_.link.finished());
    if (driver_.link.firmwareVersion() != driver_.blocks().wsign(1))
        appendText(driver_.blocks().MainRtstr, 0, updateWarning);
    return true;
}

Outcome ArmSession::dispatch() {
    switch (static_cast<ArmOperation>(driver_.operation())) {
    case ArmOperation::read:
    case ArmOperation::verify: return ReadBlocks(driver_);
    case ArmOperation::program: return ProgramBlocks(driver_);
    case ArmOperation::autoProgram:
    case ArmOperation::autoProgramQuiet: return AutoProgram(driver_);
    case ArmOperation::blankCheck: break;
    }
    return runDirectly(driver_);
}

void ArmSession::finish(End end) {
    if (end == End::result) end = signalResult();
    if (end == End::fatal) {
        driver_.context.sessionHost->EndOperation();
        end = End::aborted;
    }
    if (end == End::aborted) appendErrorText();
    if (end != End::silent) appendElapsedTime();
}

ArmSession::End ArmSession::signalResult() {
    const sharemap &blocks = driver_.blocks();
    SessionHost &host = *driver_.context.sessionHost;
    host.EndOperation();
    if (driver_.hasResult(ResultCode::passed))
        host.SignalPass(0);
    else
        host.SignalFail(0);
    const auto resultLine = [&](Long ending) {
        driver_.context.logLine(u">>", readText(blocks.MainmnuPrg, driver_.operation()),
                                readText(blocks.prgnote, ending));
    };
    switch (static_cast<ResultCode>(blocks.prgresult(0))) {
    case ResultCode::passed: resultLine(2); break;
    case ResultCode::failed: resultLine(3); break;
    case ResultCode::stopped: driver_.context.logLine(readText(blocks.prgnote, 4)); break;
    case ResultCode::error: return End::fatal;
    case ResultCode::algorithmFile: driver_.context.logLine(algorithmFileError); break;
    }
    return End::timed;
}

void ArmSession::appendErrorText() { driver_.context.logLine(readText(driver_.blocks().prgnote, 12)); }

void ArmSession::appendElapsedTime() {
    const float end = driver_.context.clock.secondsSinceMidnight();
    driver_.context.logLine(u">> ", twoDecimals(elapsedSeconds(start_, end)), u"Sec");
}

} // namespace kx3
