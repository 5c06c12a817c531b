#include "arm/arm_driver.h"
#include "context/session_report.h"
#include "outside/session_host.h"
#include "outside/ui.h"

namespace kx3 {

namespace {

constexpr Long settleMilliseconds = 20;

/// What one reading of the chip's identity leads to.
enum class Answer : Byte { goOn, aborted, retry };

std::u16string identityText(const ArmDriver &driver) {
    const std::u16string maker = driver.link.makerText();
    const std::u16string code = driver.link.deviceCodeText();
    return join(driver.context.note(noteMaker), maker, u"   ", driver.context.note(noteDevice), code);
}

Answer askUser(const ArmDriver &driver, const std::u16string &prompt) {
    const Context &context = driver.context;
    const std::u16string title = join(context.text(textWarning), context.text(textDeviceCodeError));
    switch (context.ui.messageBox(prompt, messageBoxAbortRetryIgnoreExclamation, title)) {
    case MessageBoxResult::retry: return Answer::retry;
    case MessageBoxResult::ignore: return Answer::goOn;
    default: context.report.end(SessionOutcome::stopped, prompt); return Answer::aborted;
    }
}

Answer judge(const ArmDriver &driver) {
    const sharemap &blocks = driver.blocks();
    const std::u16string identity = identityText(driver);
    const bool matches = blocks.typeid_(0) == driver.link.deviceCode() && blocks.compid(0) == driver.link.makerCode();
    if (!matches) return askUser(driver, identity);
    driver.context.logLine(u">>", identity);
    return Answer::goOn;
}

Answer readOnce(ArmDriver &driver) {
    driver.link.clearReport(2);
    driver.link.requestChipId();
    do {
        if (!driver.link.poll()) return Answer::goOn;
        if (driver.link.hasEvent(Event::compareError)) {
            driver.context.logFinding(join(u">>", driver.context.text(textDeviceCodeError)));
            driver.context.report.end(SessionOutcome::failed, {});
            return Answer::aborted;
        }
    } while (!driver.link.finished());
    return judge(driver);
}

} // namespace

IdCheck ReadChipId(ArmDriver &driver) {
    const sharemap &blocks = driver.blocks();
    const bool expectsNothing = blocks.typeid_(0) == 0 && blocks.compid(0) == 0;
    Answer answer = expectsNothing ? Answer::goOn : readOnce(driver);
    while (answer == Answer::retry)
        answer = readOnce(driver);
    driver.context.sessionHost->Delay(settleMilliseconds);
    return answer == Answer::aborted ? IdCheck::aborted : IdCheck::goOn;
}

} // namespace kx3
