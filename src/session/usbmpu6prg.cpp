#include "session/usbmpu6prg.h"

#include "base/checked.h"
#include "blocks/sharemap.h"
#include "context/session_report.h"
#include "outside/clock.h"
#include "outside/session_host.h"
#include "outside/ui.h"

namespace kx3 {

namespace {

/// `ubuflg`(0) while a session runs.
constexpr Integer sessionRuns = 0x3FF0;

/// Answers of the host's checks.
constexpr Byte startIsRefused = 1;
constexpr Byte chipIsRefused = 2;

/// `prgresult`(1) and the steps of a sequence, as far as they matter here.
enum OperationNumber : Byte {
    operationSequence = 0, ///< `autoprg`, or the device's own sequence when that has no steps
    operationNone = 1,
    operationBlankCheck = 4, ///< the one failure after which the user may go on
    operationWithExtraOutput = 5,
    operationAutoProgram = 6,
};

/// A longer log is cleared before the next operation's first line.
constexpr std::size_t longestLog = 500;

constexpr std::string_view stopButton = "pexit";
constexpr Long clientWidth = 5985;
constexpr Long clientHeight = 1035;
constexpr Bounds stopButtonBounds = {2520, 600, 735, 375};

constexpr Byte connected = 1;
constexpr Byte noPin = 0;
constexpr Long millivoltsPerUnit = 10; ///< of `bvcc`
constexpr Long settleMilliseconds = 500;
constexpr Long powerMilliseconds = 100;

/// Bytes of a status report that carries the chip's identifier.
constexpr Long reportMaker = 3;
constexpr Long reportDevice1 = 4;
constexpr Long reportDevice2 = 5;

std::u16string twoDigits(Byte value) {
    const std::u16string digits = hex(value);
    return digits.size() < 2 ? u"0" + digits : digits;
}

} // namespace

usbmpu6prg::usbmpu6prg(Context &context) : Form("usbmpu6prg"), context_(context) {}

// Window

void usbmpu6prg::onLoad() {
    setClientArea(clientWidth, clientHeight);
    setCaption(context_.text(textInformation));
    add(ControlKind::commandButton, stopButton, noIndex, context_.text(textStop)).setBounds(stopButtonBounds);
}

void usbmpu6prg::onClick(Control & /*stopButton*/) { setResult(ResultCode::stopped); }

// Session

void usbmpu6prg::wmpu0() {
    const UnloadAtEnd unloadAtEnd(*this);
    try {
        runSession();
    } catch (...) {
        context_.report.endWithError(describeCurrentException().description);
        throw;
    }
}

void usbmpu6prg::runSession() {
    switch (prgpowerup()) {
    case PowerUp::startRefused:
        context_.report.end(SessionOutcome::refused, refusedStart);
        context_.sessionHost->ReportStartFailure();
        return;
    case PowerUp::chipRefused: context_.report.end(SessionOutcome::refused, refusedDevice); return;
    case PowerUp::done: break;
    }
    if (identifierAllowsOperations()) runOperations();
    context_.sessionHost->EndOperation();
}

usbmpu6prg::PowerUp usbmpu6prg::prgpowerup() {
    context_.blocks.ubuflg(0) = sessionRuns;
    if (narrow<Byte>(context_.sessionHost->StartCheck()) == startIsRefused) return PowerUp::startRefused;
    const auto prepared = narrow<Byte>(context_.sessionHost->PrepareChip(context_.blocks.figmode(0)));
    if (prepared == chipIsRefused) return PowerUp::chipRefused;
    connectPower();
    // The last check's answer counts: here, too, it can say that the start is refused.
    return prepared == startIsRefused ? PowerUp::startRefused : PowerUp::done;
}

void usbmpu6prg::connectPower() {
    const sharemap &blocks = context_.blocks;
    SessionHost &host = *context_.sessionHost;
    host.SetVcc((Checked(blocks.bvcc(0)) * millivoltsPerUnit).value());
    host.SetGndPin(blocks.bgndpin(0), connected);
    if (const Byte second = blocks.bgndpin(1); second != noPin) host.SetGndPin(second, connected);
    host.Delay(settleMilliseconds);
    host.PowerStep(0);
    host.Delay(powerMilliseconds);
}

// Chip identifier test

bool usbmpu6prg::identifierAllowsOperations() {
    if (!context_.blocks.chipidtestmode(0)) return true;
    if (prgidtest() == IdTest::aborted) return false;
    if (result() != ResultCode::stopped) return true;
    context_.report.endWithResult(ResultCode::stopped);
    return false;
}

usbmpu6prg::IdTest usbmpu6prg::prgidtest() {
    if (context_.blocks.compid(0) == 0 && context_.blocks.typeid_(0) == 0) return IdTest::goOn;
    for (;;) {
        const ChipId id = readChipId();
        const std::u16string identifier = describe(id);
        if (isExpected(id)) {
            context_.logLine(u">>", identifier);
            return IdTest::goOn;
        }
        switch (askAboutIdentifier(identifier)) {
        case MessageBoxResult::retry: continue;
        case MessageBoxResult::ignore: return IdTest::goOn;
        default:
            context_.report.end(SessionOutcome::stopped, identifier);
            context_.sessionHost->EndOperation();
            return IdTest::aborted;
        }
    }
}

usbmpu6prg::ChipId usbmpu6prg::readChipId() {
    // Without a report the identifier reads like an empty socket, so that the user is asked.
    if (!context_.sessionHost->PollStatus(statusRequest)) return {0xFF, 0xFF, 0xFF};
    const Array<Byte> &report = context_.blocks.ibuf1;
    return {report(reportMaker), report(reportDevice1), report(reportDevice2)};
}

bool usbmpu6prg::isExpected(const ChipId &id) const {
    return id.maker == context_.blocks.compid(0) && id.device1 == context_.blocks.typeid_(0);
}

std::u16string usbmpu6prg::describe(const ChipId &id) const {
    return join(context_.note(noteMaker), twoDigits(id.maker), u"   ", context_.note(noteDevice), twoDigits(id.device1),
                twoDigits(id.device2));
}

MessageBoxResult usbmpu6prg::askAboutIdentifier(std::u16string_view identifier) {
    const std::u16string title = join(context_.text(textWarning), context_.text(textDeviceCodeError));
    return context_.ui.messageBox(identifier, messageBoxAbortRetryIgnoreExclamation, title);
}

// Operations

void usbmpu6prg::runOperations() {
    const sharemap &blocks = context_.blocks;
    const float start = context_.clock.secondsSinceMidnight();
    ranOperation_ = false;
    // The host may change its request while an operation runs: each step looks again.
    if (blocks.prgresult(1) == operationSequence && blocks.wautonum(0) == 0) prgstep(operationAutoProgram);
    if (blocks.prgresult(1) == operationSequence) runSequence(blocks.wautonum(0));
    if (const Byte operation = blocks.prgresult(1); operation > operationNone) prgstep(operation);
    context_.logElapsed(start);
    if (ranOperation_) context_.report.endWithResult(result());
    signalOutcome();
}

void usbmpu6prg::runSequence(Byte count) {
    const sharemap &blocks = context_.blocks;
    for (Long i = 0; i < count; ++i) {
        prgstep(blocks.autoprg(i));
        const ResultCode outcome = result();
        if (blocks.autoprg(i) == operationBlankCheck && outcome == ResultCode::failed) {
            if (!userGoesOn()) return;
        } else if (outcome != ResultCode::passed) {
            return;
        }
    }
}

bool usbmpu6prg::userGoesOn() {
    return context_.ui.messageBox(context_.note(noteContinuePrompt), messageBoxOkCancelQuestion,
                                  context_.note(noteContinueTitle)) == MessageBoxResult::ok;
}

void usbmpu6prg::signalOutcome() {
    if (result() == ResultCode::passed)
        context_.sessionHost->SignalPass(0);
    else
        context_.sessionHost->SignalFail(0);
}

void usbmpu6prg::prgstep(Integer operation) {
    sharemap &blocks = context_.blocks;
    ranOperation_ = true;
    setResult(ResultCode::passed);
    blocks.prgmode(1) = 0;
    clearLongLog();
    const std::u16string announcement =
        join(context_.note(noteBeforeOperation), context_.caption(operation), context_.note(noteAfterOperation));
    context_.logLine(u">>", announcement);
    showInCaption(announcement);
    blocks.prgmode(1) = 1;
    blocks.prgmode(2) = 0;
    context_.ui.yield(); // the host carries out the operation
    if (operation == operationWithExtraOutput) context_.replaceLogByExtraOutput();
    logResult(operation);
}

void usbmpu6prg::clearLongLog() {
    Array<String> &texts = context_.blocks.MainRtstr;
    if (readText(texts, logText).size() > longestLog) storeText(texts, logText, {});
}

void usbmpu6prg::showInCaption(std::u16string_view text) {
    if (!loaded()) load();
    setCaption(text);
}

void usbmpu6prg::logResult(Integer operation) {
    const auto resultLine = [&](NoteIndex ending) {
        context_.logLine(u">>", context_.caption(operation), context_.note(ending));
    };
    switch (result()) {
    case ResultCode::passed: resultLine(notePassed); break;
    case ResultCode::failed: resultLine(noteFailed); break;
    case ResultCode::stopped: context_.logLine(context_.note(noteStopped)); break;
    case ResultCode::error: context_.logLine(context_.note(noteError)); break;
    default: break;
    }
}

ResultCode usbmpu6prg::result() const { return static_cast<ResultCode>(context_.blocks.prgresult(0)); }

void usbmpu6prg::setResult(ResultCode code) { context_.blocks.prgresult(0) = static_cast<Byte>(code); }

} // namespace kx3
