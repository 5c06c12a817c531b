// What every room works with. Rooms take a Context and never look beside them.
#pragma once

#include "base/text.h"
#include "context/keys.h"
#include "texts/string_table.h"

namespace kx3 {

class Clock;
class ProgrammerIo;
class SessionHostSlot;
class sharemap;
class Ui;
struct SessionReport;

/// One host thread's shared blocks and outside components. All of it outlives the rooms.
struct Context {
    sharemap &blocks;
    ProgrammerIo &io;
    SessionHostSlot &sessionHost;
    Ui &ui;
    Clock &clock;
    SessionReport &report;

    /// text(id): the string table's text at `Language`(0) + `id`. Raises "resource not found" for a
    /// language the table does not have.
    [[nodiscard]] std::u16string_view text(Long id) const;
    /// One of the host's prepared texts.
    [[nodiscard]] std::u16string note(NoteIndex index) const;
    /// The host's caption of an operation, `MainmnuPrg`.
    [[nodiscard]] std::u16string caption(Long operation) const;

    /// Append `text` to the progress log `MainRtstr`(0).
    void appendLog(std::u16string_view text) const;
    /// Append `pieces` and a line feed to the progress log.
    template <class... Pieces> void logLine(const Pieces &...pieces) const { appendLog(join(pieces..., u"\n")); }
    /// Append the line of the time that has passed since `start`, a reading of the clock.
    void logElapsed(float start) const;
    /// Append a line about the device to the log; it explains how the session ends.
    void logFinding(std::u16string_view line) const;
    /// Replace the log by two headings and what comparisons have found; that is cleared. Anything found is a
    /// difference for the session's report.
    void replaceLogByExtraOutput() const;
};

} // namespace kx3
