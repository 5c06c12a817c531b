#include "context/context.h"

#include "blocks/sharemap.h"
#include "outside/clock.h"

namespace kx3 {

std::u16string_view Context::text(Long id) const { return stringTableText(blocks.Language(0), id); }

std::u16string Context::note(NoteIndex index) const { return readText(blocks.prgnote, index); }

std::u16string Context::caption(Long operation) const { return readText(blocks.MainmnuPrg, operation); }

void Context::appendLog(std::u16string_view text) const { appendText(blocks.MainRtstr, logText, text); }

void Context::logElapsed(float start) const {
    logLine(u">> ", twoDecimals(elapsedSeconds(start, clock.secondsSinceMidnight())), u"Sec");
}

void Context::replaceLogByExtraOutput() const {
    Array<String> &texts = blocks.MainRtstr;
    const std::u16string first = note(noteFirstHeading);
    const std::u16string second = note(noteSecondHeading);
    storeText(texts, logText, join(first, u"\n", second, u"\n", readText(texts, extraOutput)));
    storeText(texts, extraOutput, {});
}

} // namespace kx3
