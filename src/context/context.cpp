#include "context/context.h"

#include "blocks/sharemap.h"
#include "context/session_report.h"
#include "outside/clock.h"

namespace kx3 {

std::u16string_view Context::text(Long id) const { return stringTableText(blocks.Language(0), id); }

std::u16string Context::note(NoteIndex index) const { return readText(blocks.prgnote, index); }

std::u16string Context::caption(Long operation) const { return readText(blocks.MainmnuPrg, operation); }

void Context::appendLog(std::u16string_view text) const { appendText(blocks.MainRtstr, logText, text); }

void Context::logElapsed(float start) const {
    logLine(u">> ", twoDecimals(elapsedSeconds(start, clock.secondsSinceMidnight())), u"Sec");
}

void Context::logFinding(std::u16string_view line) const {
    logLine(line);
    report.explanation = line;
}

void Context::replaceLogByExtraOutput() const {
    Array<String> &texts = blocks.MainRtstr;
    const std::u16string first = note(noteFirstHeading);
    const std::u16string second = note(noteSecondHeading);
    const std::u16string found = readText(texts, extraOutput);
    if (!found.empty()) {
        report.differs = true;
        report.explanation = found;
    }
    storeText(texts, logText, join(first, u"\n", second, u"\n", found));
    storeText(texts, extraOutput, {});
}

} // namespace kx3
