#include "arm/block_sender.h"

#include <array>

namespace kx3 {

namespace {

/// Caption of the erase operation in `MainmnuPrg`.
constexpr Long eraseCaption = 8;
/// Verify passes as reports count them: below this value the first one.
constexpr Byte secondPass = 2;
/// One step of the verify margin, as a share of the supply voltage.
constexpr Double marginStep = 0.05;

/// Stages with a plain note, written once in the whole routine.
struct PlainStage {
    Stage stage;
    TextId name;
};
constexpr std::array plainStages{
    PlainStage{Stage::erase, textErase},       PlainStage{Stage::blankCheck, textBlankCheck},
    PlainStage{Stage::program, textProgram},   PlainStage{Stage::configuration, textProgConfig},
    PlainStage{Stage::protection, textSecure},
};

/// One AutoProgram call: follows the programmer through the stages of each block.
class AutoSequence {
  public:
    explicit AutoSequence(ArmDriver &driver)
        : driver_(driver), geometry_(programGeometry(driver, EndRounding::never)) {}

    Outcome run();

  private:
    RunEnd awaitRun(Long block);
    bool endedByEvent();
    void followStage(Long block);
    void notePlainStage(std::size_t index);
    void noteVerify(Long block);
    void noteVerifyVoltage(Double factor);
    void showProgress(Long block);
    void appendStageError() const;

    [[nodiscard]] bool quiet() const { return driver_.isOperation(ArmOperation::autoProgramQuiet); }
    [[nodiscard]] Long margin() const { return driver_.blocks().wlverifyvcc(0); }
    [[nodiscard]] bool beforeProgramming() const {
        return driver_.link.inStage(Stage::erase) || driver_.link.inStage(Stage::blankCheck);
    }

    ArmDriver &driver_;
    BlockGeometry geometry_;
    std::array<bool, plainStages.size()> noted_{};
    // Flags of one block's verify.
    bool verifying_ = false;
    bool firstVerifyNoted_ = false;
    bool secondVerifyNoted_ = false;
};

Outcome AutoSequence::run() {
    for (Long block = 0;; ++block) {
        if (sendBlock(driver_, geometry_, block, Tail::withConfiguration) != Sent::completely) return Outcome::fatal;
        driver_.link.clearReport(3);
        verifying_ = firstVerifyNoted_ = secondVerifyNoted_ = false;
        driver_.link.run({driver_.runCode(), block, geometry_.isLast(block)});
        const RunEnd end = awaitRun(block);
        if (end == RunEnd::fatal) return Outcome::fatal;
        if (end == RunEnd::ended || geometry_.isLast(block)) return Outcome::finished;
    }
}

RunEnd AutoSequence::awaitRun(Long block) {
    do {
        if (!driver_.link.poll()) return RunEnd::fatal;
        if (endedByEvent()) return RunEnd::ended;
        followStage(block);
        if (driver_.stopRequested()) driver_.link.stop();
        showProgress(block);
    } while (!driver_.link.finished());
    return RunEnd::complete;
}

bool AutoSequence::endedByEvent() {
    if (driver_.link.hasEvent(Event::compareError)) {
        appendStageError();
        driver_.setResult(ResultCode::failed);
        return true;
    }
    if (driver_.link.hasEvent(Event::stopped)) {
        driver_.setResult(ResultCode::stopped);
        return true;
    }
    return false;
}

void AutoSequence::appendStageError() const {
    if (driver_.link.inStage(Stage::erase))
        driver_.context.logFinding(join(driver_.context.caption(eraseCaption), driver_.context.note(noteFailed)));
    else if (driver_.link.inStage(Stage::blankCheck))
        driver_.context.logFinding(driver_.link.compareErrorLine());
    else
        driver_.context.logFinding(driver_.link.programErrorLine());
}

void AutoSequence::followStage(Long block) {
    if (beforeProgramming()) driver_.setProgress(driver_.link.progress());
    if (driver_.link.inStage(Stage::verify)) {
        verifying_ = true;
        noteVerify(block);
        return;
    }
    for (std::size_t i = 0; i < plainStages.size(); ++i)
        if (driver_.link.inStage(plainStages[i].stage) && !noted_[i]) notePlainStage(i);
}

void AutoSequence::notePlainStage(std::size_t index) {
    noted_[index] = true;
    const bool withoutText = plainStages[index].stage == Stage::program && quiet();
    if (!withoutText) driver_.noteStage(plainStages[index].name);
    driver_.blocks().prgmode(2) = 0;
}

void AutoSequence::noteVerify(Long block) {
    const Byte pass = driver_.link.verifyPass();
    if (pass < secondPass && !firstVerifyNoted_ && geometry_.isLast(block)) {
        firstVerifyNoted_ = true;
        noteVerifyVoltage(1 + marginStep * margin());
    }
    if (margin() > 0 && !secondVerifyNoted_ && pass == secondPass) {
        secondVerifyNoted_ = true;
        noteVerifyVoltage(1 - marginStep * margin());
    }
}

void AutoSequence::noteVerifyVoltage(Double factor) {
    const Long voltage = roundToLong(factor * driver_.blocks().bvcc(0)); // in units of 10 mV
    driver_.noteStage(textVerify, join(u"(VCC:", hundredths(voltage), u"V) "));
    driver_.blocks().prgmode(2) = 0;
}

void AutoSequence::showProgress(Long block) {
    constexpr Long wholeRun = 100;
    if (beforeProgramming()) return; // the stage has shown it
    const Byte reported = driver_.link.progress();
    // A block counts once for programming and once for each of its verify passes.
    const bool twoPasses = margin() > 0;
    const Long shares = twoPasses ? 3 : 2;
    const Long passesNoted = (firstVerifyNoted_ ? 1 : 0) + (secondVerifyNoted_ ? 1 : 0);
    const Long sharesDone = !verifying_ ? 0 : twoPasses ? passesNoted : 1;
    const Checked done = (Checked(shares) * block + sharesDone) * wholeRun + reported;
    driver_.setProgress(done / (Checked(shares) * (Checked(geometry_.lastBlock()) + 1)));
}

} // namespace

Outcome AutoProgram(ArmDriver &driver) { return AutoSequence(driver).run(); }

} // namespace kx3
