#include "arm/arm_session.h"

#include "base/error.h"
#include "context/session_report.h"
#include "outside/clock.h"
#include "outside/driver_table.h"
#include "outside/programmer_io.h"
#include "outside/session_host.h"

#include <algorithm>

namespace kx3 {

namespace {

constexpr Byte startRefused = 1;
constexpr Byte preparationRefused = 2;

constexpr std::u16string_view updateWarning = u"\nProgrammer soft need update now !!!\n\n";

/// Progress is reset also when a session's error path fails.
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

ByteResult prepareDevice(SessionHost &host, PrepareCall call, Byte figmode) {
    switch (call) {
    case PrepareCall::PrepareDevice32f: return host.PrepareDevice32f(figmode, 0);
    case PrepareCall::PrepareDevice: return host.PrepareDevice(figmode, 0);
    }
    raise(ErrorNumber::internal);
}

} // namespace

void ArmSession::run() {
    start_ = driver_.context.clock.secondsSinceMidnight();
    try {
        finish(perform());
    } catch (...) {
        SessionReport &report = driver_.context.report;
        report.failure = describeCurrentException().description;
        report.endWithError(report.failure);
        const ProgressReset reset(driver_.blocks());
        finish(End::aborted);
    }
}

ArmSession::End ArmSession::perform() {
    if (!mayStart()) return End::aborted;
    const std::optional<AlgorithmImage> image = loadAlgorithm(driver_.blocks(), driver_.profile);
    if (!image) {
        driver_.context.logLine(algorithmFileError);
        driver_.context.report.endWithResult(ResultCode::algorithmFile);
        return End::timed;
    }
    return operate(*image);
}

bool ArmSession::mayStart() {
    const sharemap &blocks = driver_.blocks();
    SessionHost &host = *driver_.context.sessionHost;
    if (narrow<Byte>(host.StartCheck()) == startRefused) {
        driver_.context.report.end(SessionOutcome::refused, refusedStart);
        return false;
    }
    if (blocks.figvol(1) == blocks.modeltype(2)) driver_.link.sendSignature();
    const ByteResult prepared = prepareDevice(host, driver_.profile.prepareCall, blocks.figmode(0));
    if (narrow<Byte>(prepared) != preparationRefused) return true;
    driver_.context.report.end(SessionOutcome::refused, refusedDevice);
    return false;
}

ArmSession::End ArmSession::operate(const AlgorithmImage &image) {
    SessionHost &host = *driver_.context.sessionHost;
    sharemap &blocks = driver_.blocks();
    host.AlgorithmLoaded(image.length);
    if (!download(image)) {
        driver_.context.report.end(SessionOutcome::error, u"The programmer did not take the algorithm image");
        return End::aborted;
    }
    if (!checkVersion()) return End::fatal;
    driver_.link.captureConfiguration();
    if (blocks.chipidtestmode(0) && ReadChipId(driver_) == IdCheck::aborted) {
        host.EndOperation();
        driver_.setResult(ResultCode::stopped);
        return End::silent;
    }
    const Context &context = driver_.context;
    context.logLine(u">>", context.note(noteBeforeOperation), context.caption(driver_.operation()),
                    context.note(noteAfterOperation));
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
    driver_.link.clearReadState();
    const auto neverInterrupted = [] { return false; };
    if (driver_.link.readBulk(readBack_.data(), image.length + 1, neverInterrupted) != BulkRead::complete) return false;
    const std::span<const Byte> sent = blocks.algobuf.range(0, image.length);
    return std::equal(sent.begin(), sent.end(), readBack_.begin());
}

bool ArmSession::checkVersion() {
    driver_.link.queryVersion();
    do {
        if (!driver_.link.poll()) return false;
    } while (!driver_.link.finished());
    if (driver_.link.firmwareVersion() != driver_.blocks().wsign(1)) driver_.context.appendLog(updateWarning);
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
        driver_.context.report.end(SessionOutcome::error, u"No status report came, or a transfer failed");
        driver_.context.sessionHost->EndOperation();
        end = End::aborted;
    }
    if (end == End::aborted) driver_.context.logLine(driver_.context.note(noteError));
    if (end != End::silent) driver_.context.logElapsed(start_);
    driver_.setProgress(0);
}

ArmSession::End ArmSession::signalResult() {
    SessionHost &host = *driver_.context.sessionHost;
    host.EndOperation();
    driver_.context.report.endWithResult(driver_.result());
    if (driver_.hasResult(ResultCode::passed))
        host.SignalPass(0);
    else
        host.SignalFail(0);
    const Context &context = driver_.context;
    const auto resultLine = [&](NoteIndex ending) {
        context.logLine(u">>", context.caption(driver_.operation()), context.note(ending));
    };
    switch (driver_.result()) {
    case ResultCode::passed: resultLine(notePassed); break;
    case ResultCode::failed: resultLine(noteFailed); break;
    case ResultCode::stopped: context.logLine(context.note(noteStopped)); break;
    case ResultCode::error: return End::fatal;
    case ResultCode::algorithmFile: context.logLine(algorithmFileError); break;
    }
    return End::timed;
}

} // namespace kx3
