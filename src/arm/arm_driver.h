// What all routines of an ARM driver module work with.
#pragma once

#include "arm/programmer_link.h"
#include "base/checked.h"
#include "blocks/sharemap.h"
#include "context/context.h"

namespace kx3 {

/// Operation numbers that have a routine of their own; every other one runs directly.
enum class ArmOperation : Byte {
    autoProgram = 0,
    read = 2,
    program = 3,
    blankCheck = 4,
    verify = 5,
    autoProgramQuiet = 6, ///< the automatic sequence without a note of the program stage
};

/// How a routine that drives the programmer ended.
enum class Outcome : Integer {
    finished = 0, ///< look at `prgresult`(0)
    fatal = 1,    ///< no status report, or a transfer failed
};

/// How the run of a block ended, and with it perhaps the operation.
enum class RunEnd : Byte {
    complete, ///< go on with the block's data or the next block
    ended,    ///< the operation is over; `prgresult`(0) says how
    fatal,    ///< no status report came
};

/// One driver module: its profile, the link to the programmer, and short names for the shared cells
/// that every routine reads and writes.
struct ArmDriver {
    Context &context;
    const ArmProfile &profile;
    ProgrammerLink link{context, profile};

    [[nodiscard]] sharemap &blocks() const { return context.blocks; }
    [[nodiscard]] Byte operation() const { return blocks().prgresult(1); }
    [[nodiscard]] bool isOperation(ArmOperation number) const { return operation() == static_cast<Byte>(number); }
    /// Number of the operation's run command.
    [[nodiscard]] Byte runCode() const { return (Checked(operation()) + 1).toByte(); }

    void setResult(ResultCode code) const { blocks().prgresult(0) = static_cast<Byte>(code); }
    [[nodiscard]] ResultCode result() const { return static_cast<ResultCode>(blocks().prgresult(0)); }
    [[nodiscard]] bool hasResult(ResultCode code) const { return result() == code; }
    [[nodiscard]] bool stopRequested() const { return hasResult(ResultCode::stopped); }
    /// Progress for the host's display, 0 to 100.
    void setProgress(Checked percent) const { blocks().prgmode(1) = percent.toByte(); }

    /// Keep a library's status as the result code. True when the call succeeded; otherwise the code
    /// becomes `error`.
    [[nodiscard]] bool accepted(Integer status) const {
        constexpr Integer transferFailed = 1;
        blocks().prgresult(0) = narrow<Byte>(status);
        if (status == transferFailed) setResult(ResultCode::error);
        return status != transferFailed;
    }

    /// Append the log line of a stage: ">>", host text, name, `addition`, host text.
    void noteStage(TextId name, std::u16string_view addition = {}) const {
        context.logLine(u">>", context.note(noteBeforeOperation), context.text(name), addition,
                        context.note(noteAfterOperation));
    }
};

/// Whether the chip-ID check lets the session go on.
enum class IdCheck : Integer { goOn = 0, aborted = 1 };

/// Compare the chip's maker and device code with the expected ones, and ask the user about a
/// difference.
[[nodiscard]] IdCheck ReadChipId(ArmDriver &driver);
/// Read the device into the buffer, or read it and compare it with the buffer.
[[nodiscard]] Outcome ReadBlocks(ArmDriver &driver);
/// Send the buffer block by block and let the programmer write it.
[[nodiscard]] Outcome ProgramBlocks(ArmDriver &driver);
/// Send the buffer block by block and follow the programmer through the stages of each block.
[[nodiscard]] Outcome AutoProgram(ArmDriver &driver);
/// Run an operation that the programmer carries out alone.
[[nodiscard]] Outcome runDirectly(ArmDriver &driver);

} // namespace kx3
