#include "arm/block_run.h"
#include "arm/block_sender.h"
#include "outside/driver_table.h"

namespace kx3 {

Outcome ProgramBlocks(ArmDriver &driver) {
    constexpr Long wholeRun = 100;
    const BlockGeometry geometry =
        programGeometry(driver, driver.profile.roundsProgramEnd ? EndRounding::largeDevices : EndRounding::never);
    for (Long block = 0;; ++block) {
        const Sent sent = sendBlock(driver, geometry, block, Tail::dataOnly);
        if (sent == Sent::announcementFailed) return Outcome::fatal;
        if (sent == Sent::dataFailed) return Outcome::finished;
        driver.link.clearReport(3);
        driver.link.run({driver.runCode(), block, geometry.isLast(block)});
        const RunEnd end = awaitBlockRun(
            driver, [&] { driver.context.logFinding(driver.link.programErrorLine()); },
            [&] {
                const Checked done = Checked(wholeRun) * block + driver.link.progress();
                driver.setProgress(done / (Checked(geometry.lastBlock()) + 1));
            });
        if (end != RunEnd::complete) return end == RunEnd::fatal ? Outcome::fatal : Outcome::finished;
        if (geometry.isLast(block)) break;
    }
    driver.setProgress(wholeRun);
    return Outcome::finished;
}

} // namespace kx3
