// What every room works with. Rooms take a Context and never look beside them.
#pragma once

#include "base/text.h"
#include "blocks/sharemap.h"
#include "texts/string_table.h"
#include "outside/clock.h"
#include "outside/programmer_io.h"
#include "outside/session_host.h"
#include "outside/ui.h"

namespace kx3 {

/// One host thread's shared blocks and outside components. All of it outlives the rooms.
struct Context {
    sharemap &blocks;
    ProgrammerIo &io;
    SessionHostSlot &sessionHost;
    Ui &ui;
    Clock &clock;

    /// text(id): the string table's text at `Language`(0) + `id`. Raises "resource not found" for a
    /// language the table does not have.
    [[nodiscard]] std::u16string_view text(Long id) const { return stringTableText(blocks.Language(0), id); }

    /// Append `pieces` and a line feed to the progress log `MainRtstr`(0).
    template <class... Pieces> void logLine(const Pieces &...pieces) const {
        appendText(blocks.MainRtstr, 0, join(pieces..., u"\n"));
    }
};

} // namespace kx3
