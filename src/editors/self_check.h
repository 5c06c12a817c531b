// What must hold of every editor's tables, for each of its modes. All of it is computed while the editor's file is
// compiled; what `adjust` does to a layout is not seen here.
#pragma once

#include "editors/tables.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace kx3 {

/// No constant expression: to call it ends the compilation.
inline void tablesBreakTheRule(const char * /*rule*/) {}

/// Ends the compilation of tables that break a rule; the compiler's message quotes it.
consteval void require(bool holds, const char *rule) {
    if (!holds) tablesBreakTheRule(rule);
}

consteval ModeSet listedModes(std::string_view editor) {
    const auto *const row = std::find_if(std::begin(editorList), std::end(editorList),
                                         [&](const auto &each) { return each.name == editor; });
    require(row != std::end(editorList), "an editor is in editor_list.inc");
    return row->modes;
}

consteval void checkFrames(const EditorTables &editor) {
    for (std::size_t i = 0; i < editor.frames.size(); ++i) {
        const FrameSpec &frame = editor.frames[i];
        require(!frame.parent || *frame.parent < i, "a frame stands behind the frame around it");
        for (const FrameSpec &earlier : editor.frames.first(i))
            require(earlier.name != frame.name, "no two frames have one name");
    }
}

consteval void checkRun(const EditorTables &editor, const Rows &rows, ModeSet modes) {
    require(rows.modes == ModeSet() || modes.containsAll(rows.modes), "rows are for modes of their editor");
    require(rows.frame < editor.frames.size(), "rows stand in a frame");
    require(!rows.captions.empty(), "rows have captions");
    require(rows.label.name.empty() == (rows.kind == FieldKind::check), "all rows but check boxes have labels");
    require(rows.captions.size() == 1 || rows.control.index != noIndex, "rows of one run are a control array");
    require(rows.captions.size() == 1 || rows.kind != FieldKind::hexNumber, "a run of numbers is one row");
    const std::size_t items = rows.items == Items::texts ? rows.texts.size() : 2;
    if (rows.kind == FieldKind::list && items != 0 && rows.coding != Coding::indexOrFirst)
        require(items == std::size_t{1} << rows.width, "a list has an item for each value of its bits");
}

consteval int lastIndex(const Rows &rows) { return rows.control.index + static_cast<int>(rows.captions.size()) - 1; }

/// Number of rows of `control` with an index from `first` to `last`.
consteval int countRows(const EditorTables &editor, Byte mode, std::string_view control, int first, int last) {
    int count = 0;
    for (const Rows &rows : editor.rows)
        if (rows.modes.contains(mode) && rows.control.name == control)
            count += std::max(std::min(last, lastIndex(rows)) - std::max<int>(first, rows.control.index) + 1, 0);
    return count;
}

consteval void checkControls(const EditorTables &editor, Byte mode) {
    for (const Rows &rows : editor.rows) {
        if (!rows.modes.contains(mode)) continue;
        const int first = rows.control.index;
        const int last = lastIndex(rows);
        require(countRows(editor, mode, rows.control.name, first, last) == last - first + 1,
                "no two rows have one control");
        require(rows.enabledBy.empty() || countRows(editor, mode, rows.enabledBy, noIndex, noIndex) == 1,
                "what enables a row is a control");
    }
}

consteval void checkChange(const EditorTables &editor, Byte mode, const Change &change) {
    const int count = countRows(editor, mode, change.control, change.first, change.last);
    const bool isFrame = std::any_of(editor.frames.begin(), editor.frames.end(),
                                     [&](const FrameSpec &frame) { return frame.name == change.control; });
    require(isFrame || count == change.last - change.first + 1, "a change is about rows or a frame that exist");
}

/// The bytes of an editor in one mode, and what its tables say about their bits.
class ByteUses {
  public:
    consteval void add(const ByteRange &range, bool written) {
        for (Long offset = range.first; offset < range.first + range.count; ++offset) {
            require(find(offset) == count_, "no two ranges have one byte");
            uses_.at(count_++) = {offset, written};
        }
    }

    consteval void hold(const Place &place, bool readOnly) {
        require(place.bit + place.width <= 8, "a row's bits lie in its byte");
        const auto mask = static_cast<Byte>(((1U << place.width) - 1U) << place.bit);
        for (std::size_t k = 0; k < place.byteCount; ++k) {
            Use &use = at(place.offsets[k]);
            require((use.held & mask) == 0, "no two rows hold one bit");
            require(!readOnly || !use.written, "a byte with a row that is only read is not written");
            use.held |= mask;
        }
    }

    consteval void fix(const FixedBits &bits) {
        Use &use = at(bits.offset);
        require((bits.value & ~bits.mask) == 0, "a fixed value lies in its mask");
        require((use.fixed & bits.mask) == 0, "a bit is fixed once");
        use.fixed |= bits.mask;
    }

    consteval void requireWhole() const {
        for (const Use &use : uses_)
            require(!use.written || (use.held | use.fixed) == 0xFF, "OK knows every bit of a byte that it writes");
    }

  private:
    struct Use {
        Long offset = 0;
        bool written = false;
        Byte held = 0;
        Byte fixed = 0;
    };

    [[nodiscard]] consteval std::size_t find(Long offset) const {
        std::size_t i = 0;
        while (i < count_ && uses_[i].offset != offset)
            ++i;
        return i;
    }
    consteval Use &at(Long offset) {
        const std::size_t i = find(offset);
        require(i < count_, "rows and fixed bits lie in a range of bytes");
        return uses_[i];
    }

    std::array<Use, 64> uses_{};
    std::size_t count_ = 0;
};

consteval void checkBytes(const EditorTables &editor, Byte mode) {
    ByteUses uses;
    for (const ByteRange &range : editor.bytes)
        if (range.read.contains(mode)) uses.add(range, !range.readOnly && range.written.contains(mode));
    for (const Rows &rows : editor.rows)
        for (std::size_t row = 0; row < rows.captions.size() && rows.modes.contains(mode); ++row)
            uses.hold(placeOf(rows, row), rows.readOnly);
    for (const FixedBits &bits : editor.fixedBits)
        if (bits.modes.contains(mode)) uses.fix(bits);
    uses.requireWhole();
}

consteval void checkTables(const EditorTables &editor) {
    const ModeSet modes = listedModes(editor.name);
    checkFrames(editor);
    for (const Rows &rows : editor.rows)
        checkRun(editor, rows, modes);
    for (Byte mode = 1; mode <= 64; ++mode) {
        if (!modes.contains(mode)) continue;
        checkControls(editor, mode);
        checkBytes(editor, mode);
        for (const Change &change : editor.changes)
            if (change.modes.contains(mode)) checkChange(editor, mode, change);
    }
}

} // namespace kx3
