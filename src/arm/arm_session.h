// The session driver of the ARM devices: one driver, two profiles.
#pragma once

#include "arm/algorithm_file.h"
#include "arm/arm_driver.h"

#include <vector>

namespace kx3 {

/// The session driver of one module, `RunArmSession32f` or `RunArmSession`. Runs one operation of an ARM
/// device: loads the algorithm image, downloads and checks it, and
/// drives the programmer by its status reports. Everything it reports goes into the shared blocks.
class ArmSession {
  public:
    ArmSession(Context &context, const ArmProfile &profile) : driver_{context, profile} {}
    ArmSession(const ArmSession &) = delete;
    ArmSession &operator=(const ArmSession &) = delete;

    /// Perform one complete session. An error inside it is kept in the report and ends the session on
    /// its orderly path; only an error inside that path is raised.
    void run();

  private:
    /// Where the session goes on after its steps.
    enum class End : Byte {
        result,  ///< EndOperation, signal, result line by `prgresult`(0), elapsed time
        fatal,   ///< EndOperation, then as aborted
        aborted, ///< prepared error text and elapsed time
        timed,   ///< elapsed time only
        silent,  ///< neither result nor time
    };

    [[nodiscard]] End perform();
    [[nodiscard]] bool mayStart();
    [[nodiscard]] End operate(const AlgorithmImage &image);
    [[nodiscard]] bool download(const AlgorithmImage &image);
    [[nodiscard]] bool checkVersion();
    [[nodiscard]] Outcome dispatch();
    void finish(End end);
    [[nodiscard]] End signalResult();

    ArmDriver driver_;
    float start_ = 0;
    // Kept between sessions, so that a transfer which ends late never writes into freed memory.
    std::vector<Byte> readBack_;
};

} // namespace kx3
