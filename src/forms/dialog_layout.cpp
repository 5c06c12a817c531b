#include "forms/dialog_layout.h"

#include "base/text.h"
#include "forms/form.h"

#include <algorithm>
#include <limits>
#include <set>
#include <utility>

namespace kx3 {

namespace {

/// A frame, or a run of rows, with the height it takes.
struct Block {
    const Control *frame = nullptr; ///< null for a run
    std::vector<FormRow> rows;
    Long height = 0;
};

class Arranger {
  public:
    explicit Arranger(const Form &form) : form_(form) {}

    DialogLayout arrange() {
        const Control *container = splitContainer();
        split_ = heightOf(blocksOf(container)) > tallHeight;
        layout_.height = place(nullptr, container);
        placeButtons();
        std::sort(layout_.placements.begin(), layout_.placements.end(),
                  [](const Placement &a, const Placement &b) { return a.control->position() < b.control->position(); });
        return std::move(layout_);
    }

  private:
    static bool isButton(const FormRow &row) {
        return row.field->kind() == ControlKind::commandButton && row.field->parent() == nullptr;
    }

    [[nodiscard]] std::vector<Block> blocksOf(const Control *container) const {
        std::vector<Block> blocks;
        for (const FormRow &row : form_.rows(container)) {
            if (isButton(row)) continue;
            if (row.field->kind() == ControlKind::frame) {
                blocks.push_back({row.field, {}, frameHeight + heightOf(blocksOf(row.field))});
                continue;
            }
            if (blocks.empty() || blocks.back().frame != nullptr) blocks.emplace_back();
            blocks.back().rows.push_back(row);
        }
        for (Block &block : blocks)
            if (block.frame == nullptr)
                block.height = lineOf(block.rows.size() + cells(container) - 1, container) * rowHeight;
        return blocks;
    }

    static Long heightOf(const std::vector<Block> &blocks) {
        Long height = 0;
        for (const Block &block : blocks)
            height += block.height;
        return height;
    }

    /// Number of rows side by side.
    [[nodiscard]] std::size_t cells(const Control *container) const {
        if (container == nullptr) return 1;
        const Byte wanted = std::max<Byte>(container->columns(), 1);
        return split_ ? std::min<std::size_t>(wanted, cellsInSplit) : wanted;
    }
    [[nodiscard]] Long lineOf(std::size_t row, const Control *container) const {
        return static_cast<Long>(row / cells(container));
    }

    /// Whose blocks are split when they are tall: the form's, or a frame's that holds all the others.
    [[nodiscard]] const Control *splitContainer() const {
        const Control *container = nullptr;
        for (;;) {
            const std::vector<Block> blocks = blocksOf(container);
            if (blocks.size() != 1 || blocks.front().frame == nullptr) return container;
            container = blocks.front().frame;
        }
    }

    /// Number of blocks in the first column, so that the higher column is as low as can be.
    static std::size_t splitOf(const std::vector<Block> &blocks) {
        std::size_t best = blocks.size();
        Long lowest = std::numeric_limits<Long>::max();
        const Long all = heightOf(blocks);
        Long first = 0;
        for (std::size_t i = 0; i < blocks.size(); ++i) {
            first += blocks[i].height;
            const Long higher = std::max(first, all - first);
            if (higher >= lowest) continue;
            lowest = higher;
            best = i + 1;
        }
        return best;
    }

    /// Place what stands in `container`; gives the height of its content.
    Long place(const Control *container, const Control *toSplit) {
        const std::vector<Block> blocks = blocksOf(container);
        const std::size_t first = split_ && container == toSplit ? splitOf(blocks) : blocks.size();
        Long heights[2] = {};
        for (std::size_t i = 0; i < blocks.size(); ++i) {
            const Integer column = i < first ? 0 : 1;
            const Integer number = block_++;
            if (blocks[i].frame == nullptr) {
                placeRows(blocks[i], container, column, number);
                heights[column] += blocks[i].height;
            } else {
                add(*blocks[i].frame, column, number, 0, 0, CellPart::whole);
                heights[column] += frameHeight + place(blocks[i].frame, toSplit);
            }
        }
        return std::max(heights[0], heights[1]);
    }

    void placeRows(const Block &run, const Control *container, Integer column, Integer number) {
        for (std::size_t i = 0; i < run.rows.size(); ++i) {
            const FormRow &row = run.rows[i];
            const auto line = static_cast<Integer>(lineOf(i, container));
            const auto cell = static_cast<Integer>(i % cells(container));
            if (row.label != nullptr && row.label->visible())
                add(*row.label, column, number, line, cell, CellPart::label);
            add(*row.field, column, number, line, cell, row.label != nullptr ? CellPart::field : CellPart::whole);
        }
    }

    void placeButtons() {
        Integer cell = 0;
        for (const FormRow &row : form_.rows(nullptr))
            if (isButton(row)) add(*row.field, buttonRow, block_, 0, cell++, CellPart::whole);
    }

    void add(const Control &control, Integer column, Integer block, Integer line, Integer cell, CellPart part) {
        layout_.placements.push_back({&control, column, block, line, cell, part, {}, {}, {}});
    }

    const Form &form_;
    bool split_ = false;
    Integer block_ = 0;
    DialogLayout layout_;
};

// Access keys

/// The capital letter or digit that a key types, 0 for characters that are no access keys.
char16_t accessCharacter(char16_t c) {
    if (c >= u'a' && c <= u'z') return static_cast<char16_t>(c - u'a' + u'A');
    if (c >= u'а' && c <= u'я') return static_cast<char16_t>(c - u'а' + u'А');
    const bool itself = (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') || (c >= u'А' && c <= u'Я');
    return itself ? c : u'\0';
}

/// Positions of `caption` that can be an access key, the telling ones first: beginnings of words,
/// then other letters, then digits.
std::vector<std::size_t> accessCandidates(std::u16string_view caption) {
    std::vector<std::size_t> ranks[3];
    for (std::size_t i = 0; i < caption.size(); ++i) {
        const char16_t c = accessCharacter(caption[i]);
        if (c == 0) continue;
        const bool isDigit = c <= u'9';
        const bool startsWord = i == 0 || accessCharacter(caption[i - 1]) == 0;
        ranks[isDigit ? 2 : startsWord ? 0 : 1].push_back(i);
    }
    for (const auto &rank : {ranks[1], ranks[2]})
        ranks[0].insert(ranks[0].end(), rank.begin(), rank.end());
    return ranks[0];
}

bool takesAccessKey(const Placement &place) {
    return place.control->kind() != ControlKind::frame &&
           (place.part == CellPart::label ||
            (place.part == CellPart::whole && place.control->kind() != ControlKind::label));
}

/// Give each control the first of its characters that is still free; the buttons choose first.
void giveAccessKeys(std::vector<Placement> &placements) {
    std::set<char16_t> taken;
    for (const bool buttons : {true, false})
        for (Placement &place : placements) {
            if ((place.column == buttonRow) != buttons || !takesAccessKey(place)) continue;
            const std::u16string &caption = place.control->caption();
            for (const std::size_t i : accessCandidates(caption)) {
                if (!taken.insert(accessCharacter(caption[i])).second) continue;
                place.accessKey = i;
                break;
            }
        }
}

std::u16string accessibleNameOf(const Control &control) {
    std::u16string name;
    const auto putInFront = [&name](const Control &named) {
        const std::u16string caption = drawnText(named.caption());
        const std::u16string_view piece = nameOfCaption(caption);
        if (piece.empty()) return;
        name = name.empty() ? std::u16string(piece) : join(piece, u", ", name);
    };
    putInFront(control.label() != nullptr ? *control.label() : control);
    for (const Control *frame = control.parent(); frame != nullptr; frame = frame->parent())
        putInFront(*frame);
    return name;
}

} // namespace

const Placement *DialogLayout::find(const Control &control) const &noexcept {
    const auto found = std::find_if(placements.begin(), placements.end(),
                                    [&](const Placement &place) { return place.control == &control; });
    return found == placements.end() ? nullptr : &*found;
}

DialogLayout dialogLayout(const Form &form) {
    DialogLayout layout = Arranger(form).arrange();
    giveAccessKeys(layout.placements);
    for (Placement &place : layout.placements) {
        place.markedCaption = markedCaption(place.control->caption(), place.accessKey);
        place.accessibleName = accessibleNameOf(*place.control);
    }
    return layout;
}

std::u16string drawnText(std::u16string_view text) {
    std::u16string drawn(text);
    std::erase(drawn, u'\t');
    return drawn;
}

std::u16string markedCaption(std::u16string_view caption, std::optional<std::size_t> accessKey) {
    std::u16string marked;
    for (std::size_t i = 0; i < caption.size(); ++i) {
        if (caption[i] == u'\t') continue;
        if (caption[i] == u'&' || accessKey == i) marked += u'&';
        marked += caption[i];
    }
    return marked;
}

} // namespace kx3
