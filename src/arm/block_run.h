// Waiting for the run command of one block.
#pragma once

#include "arm/arm_driver.h"
#include "outside/driver_table.h"

namespace kx3 {

/// Wait until the programmer has finished a read or program run. `noteCompareError()` is called for
/// an error at an address, `showProgress()` once for every report.
template <class NoteCompareError, class ShowProgress>
RunEnd awaitBlockRun(ArmDriver &driver, NoteCompareError noteCompareError, ShowProgress showProgress) {
    do {
        if (!driver.link.poll()) return RunEnd::fatal;
        if (driver.link.hasEvent(Event::compareError)) {
            noteCompareError();
            driver.setResult(ResultCode::failed);
            return RunEnd::ended;
        }
        if (driver.profile.testsStopEvent && driver.link.hasEvent(Event::stopped)) {
            driver.setResult(ResultCode::stopped);
            return RunEnd::ended;
        }
        if (driver.stopRequested()) {
            if (driver.profile.stopRequest == StopRequest::leaveAtOnce) return RunEnd::ended;
            driver.link.stop();
        }
        showProgress();
    } while (!driver.link.finished());
    return RunEnd::complete;
}

} // namespace kx3
