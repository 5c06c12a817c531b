// Elements of the shared blocks, and their values, by name.
#pragma once

#include "base/types.h"

namespace kx3 {

/// `prgresult`(0).
enum class ResultCode : Byte { passed = 0, failed = 1, stopped = 2, error = 3, algorithmFile = 4 };

/// Elements of `prgnote`, the host's prepared texts.
enum NoteIndex : Long {
    noteBeforeOperation = 0,
    noteAfterOperation = 1,
    notePassed = 2,
    noteFailed = 3,
    noteStopped = 4,
    noteFirstHeading = 5,
    noteSecondHeading = 6,
    noteContinuePrompt = 7,
    noteContinueTitle = 8,
    noteMaker = 9,
    noteDevice = 10,
    noteError = 12,
};

/// Elements of `MainRtstr`: the progress log, and what comparisons have found.
inline constexpr Long logText = 0;
inline constexpr Long extraOutput = 1;

} // namespace kx3
