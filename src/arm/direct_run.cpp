#include "arm/arm_driver.h"
#include "outside/driver_table.h"
#include "outside/programmer_io.h"

namespace kx3 {

namespace {

void sendData(ArmDriver &driver, const FamilyData &data) {
    sharemap &blocks = driver.blocks();
    blocks.prgresult(0) = narrow<Byte>(driver.link.announceDataToBank());
    const Long first = data.atEnd ? (Checked(blocks.tlength(0)) - data.bytes).value() : 0;
    const std::span<Byte> bytes = blocks.ibuffer.range(first, data.bytes);
    blocks.prgresult(0) = narrow<Byte>(driver.context.io.usbbulkwrite(bytes.data(), data.bytes));
}

void sendFamilyData(ArmDriver &driver) {
    const Byte family = driver.blocks().prgmode(0);
    for (const FamilyData &data : familyData)
        if (data.firstFamily <= family && family <= data.lastFamily) sendData(driver, data);
}

/// Only the first stage of a run gets a note; a blank check of its own needs none.
bool noteFirstStage(const ArmDriver &driver) {
    if (driver.link.inStage(Stage::verify)) {
        driver.noteStage(textVerify);
        return true;
    }
    if (driver.link.inStage(Stage::blankCheck) && !driver.isOperation(ArmOperation::blankCheck)) {
        driver.noteStage(textBlankCheck);
        return true;
    }
    return false;
}

/// True when an event ends the run.
bool endedByEvent(const ArmDriver &driver) {
    if (driver.link.hasEvent(Event::compareError)) {
        driver.context.logFinding(driver.link.compareErrorLine());
        driver.setResult(ResultCode::failed);
        return true;
    }
    if (driver.link.hasEvent(Event::idError)) {
        driver.context.logFinding(u">>ID Check Error!!!");
        driver.setResult(ResultCode::failed);
        return true;
    }
    return driver.link.hasEvent(Event::stopped);
}

} // namespace

Outcome runDirectly(ArmDriver &driver) {
    sendFamilyData(driver);
    driver.link.clearReport(2);
    driver.link.run({driver.runCode()});
    bool stageNoted = false;
    do {
        if (!driver.link.poll()) return Outcome::fatal;
        if (endedByEvent(driver)) return Outcome::finished;
        if (!stageNoted) stageNoted = noteFirstStage(driver);
        if (driver.stopRequested()) driver.link.stop();
        driver.setProgress(driver.link.progress());
    } while (!driver.link.finished());
    return Outcome::finished;
}

} // namespace kx3
