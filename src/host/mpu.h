// The one class that a host creates.
#pragma once

#include "base/types.h"

namespace kx3 {

class Apartment;

/// Thin dispatcher: each operation reads one or two keys from the shared blocks and hands the work
/// to the module, window or dialog that does it. Creation attaches nothing; the end of an object
/// releases the 60 main blocks. Every operation raises kx3::Error (or std::bad_alloc) on failure,
/// with its remaining steps not carried out; only the doors turn that into a status.
///
/// While an operation runs, the host may call in from its message loop, but it can neither start a
/// second operation nor attach or release blocks: those calls fail and change nothing, and the end
/// of an object releases the main blocks when the operation has ended.
class clsMPU {
  public:
    /// An object of the host thread that `apartment` belongs to.
    explicit clsMPU(Apartment &apartment) noexcept : apartment_(apartment) {}
    ~clsMPU();
    clsMPU(const clsMPU &) = delete;
    clsMPU &operator=(const clsMPU &) = delete;

    Long buflg = 0;    ///< size of the device data in bytes, set by bufcommpu6
    Boolean exitpower; ///< storage for the host

    /// Run the operation that the host has selected, by `modeltype`(0) and `selmode`(0).
    /// `usbenable` is neither read nor written.
    void runMpu6Prg(Boolean &usbenable);
    /// Show the device note `no`, whose bit 7 is cleared first.
    void mpu6warn(Byte &no);
    /// Open the configuration editor of the selected device, by `prgmode`(0); returns when closed.
    void editfigmpu6();
    /// Attach the shared blocks of host instance `num` and the device buffer. Raises Overflow when
    /// the buffer's size does not fit; `buflg` is unchanged then.
    void bufcommpu6(const Integer &num);
    /// Release the two device-buffer blocks.
    void freesharebuffermpu6();
    /// Write the default configuration bytes of the selected device into the device buffer.
    void sinitmpu6();

  private:
    Apartment &apartment_;
};

} // namespace kx3
