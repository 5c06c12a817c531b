// What fields and bytes stand for each other, and which bits OK forces, for every mode.
#include "editors/editor_driver.h"
#include "editors/layout.h"

#include <algorithm>

namespace kx3::test {
namespace {

constexpr Long t = 2048;

/// The editor of `mode` with its check boxes checked, so that all rows are enabled; OK has forced its bits.
class FieldsAndBytes : public EditorTest, public ::testing::WithParamInterface<Byte> {
  protected:
    FieldsAndBytes() {
        device(GetParam(), t);
        std::vector<Byte> start(plugin.host.ibuffer.count());
        for (std::size_t i = 0; i < start.size(); ++i)
            start[i] = static_cast<Byte>(i * 151 + (i >> 8));
        restore(start);
        open([](Person &person) {
            for (const Control &control : person.form.controls())
                person.form.check(control, true);
            person.ok();
        });
        layout = *editorLayout({GetParam(), t, 20, 0}, {});
    }
    std::size_t addressOf(const Field &field, std::size_t k) const {
        return static_cast<std::size_t>(configAddress(layout.base, field.offsets[k], t));
    }
    /// Act on the field's control in an editor over `before`; OK makes `after` of it, which the next one shows.
    void expectStored(const Field &field, const std::vector<Byte> &before, std::vector<Byte> after,
                      const std::function<void(Person &, const Control &)> &act,
                      const std::function<void(const Control &)> &shown) {
        const auto control = [&](Person &person) -> const Control & {
            return person.at(field.control.name, field.control.index);
        };
        if (layout.mirrored) after[static_cast<std::size_t>(t)] = after[addressOf(field, 0)];
        const bool isGreyed = !field.enabled && field.enabledBy.empty();
        restore(isGreyed ? after : before);
        open([&](Person &person) {
            if (!isGreyed) act(person, control(person));
            person.ok();
        });
        EXPECT_TRUE(image() == after);
        open([&](Person &person) { shown(control(person)); });
    }

    EditorLayout layout;
};

/// The bits that item `index` of a list stands for, or a check box that is checked (1) or not.
int bitsOfItem(const Field &field, Long index) {
    switch (field.coding) {
    case Coding::inverted: return (1 << field.width) - 1 - index;
    case Coding::wholeSize: return index == 0 ? 7 : 0;
    default: return index;
    }
}

TEST_P(FieldsAndBytes, ListsAndCheckBoxes) {
    const std::vector<Byte> before = image();
    for (const Field &field : layout.fields) {
        const bool isCheck = field.kind == FieldKind::check;
        if (!isCheck && field.kind != FieldKind::list) continue;
        if (!layout.isShown(field)) continue;
        const Long count = isCheck ? 2 : static_cast<Long>(field.items->size());
        if (field.coding == Coding::plain || field.coding == Coding::inverted) {
            EXPECT_EQ(count, 1 << field.width) << field.control.name << field.control.index;
        }
        for (Long item = 0; item < count; ++item) {
            SCOPED_TRACE(testing::Message() << field.control.name << field.control.index << " item " << item);
            std::vector<Byte> after = before;
            Byte &byte = after[addressOf(field, 0)];
            byte = static_cast<Byte>((byte & ~field.mask()) | bitsOfItem(field, item) << field.bit);
            const auto choose = [&](Person &person, const Control &control) {
                EXPECT_TRUE(isCheck ? person.form.check(control, item != 0) : person.form.choose(control, item));
            };
            expectStored(field, before, after, choose, [&](const Control &control) {
                EXPECT_EQ(isCheck ? Long{control.checked()} : control.listIndex(), item);
            });
        }
    }
}

TEST_P(FieldsAndBytes, Numbers) {
    const std::vector<Byte> before = image();
    constexpr Byte typedBytes[] = {0x0F, 0x1E, 0x2D, 0x3C};
    for (const Field &field : layout.fields) {
        const bool isWord = field.kind == FieldKind::hexWord;
        if (!isWord && field.kind != FieldKind::hexNumber) continue;
        if (!layout.isShown(field)) continue;
        SCOPED_TRACE(field.control.name);
        EXPECT_EQ(field.mask(), 0xFF) << "whole bytes";
        std::vector<Byte> after = before;
        for (std::size_t k = 0; k < field.byteCount; ++k)
            after[addressOf(field, k)] = typedBytes[field.byteCount - 1 - k];
        const std::size_t digits = std::size_t{2} * field.byteCount;
        const auto paste = [&](Person &person, const Control &box) {
            person.paste(box.name(), box.index(), std::u16string_view(u"0f1E2d3C").substr(0, digits));
        };
        expectStored(field, before, after, paste, [&](const Control &box) {
            const std::u16string_view number = u"F1E2D3C";
            EXPECT_EQ(toUtf8(box.text()), isWord ? "0F1E2D3C" : toUtf8(number.substr(0, digits - 1)));
        });
    }
}

/// What OK makes of a byte: bits are forced, or kept.
Byte afterOk(const EditorLayout &layout, const ConfigByte &byte, int value) {
    if (!byte.written) return static_cast<Byte>(value);
    for (const Field &field : layout.fields) {
        if (field.byteCount == 0 || field.offsets[0] != byte.offset) continue;
        const int size = value >> 1 & 7;
        if (field.coding == Coding::indexOrFirst) value = value < 4 ? value : 0;
        if (field.coding == Coding::wholeSize) value = (value & ~0x0E) | (size == 6 || size == 0 ? 0 : 0x0E);
    }
    return static_cast<Byte>((value & ~byte.fixedMask) | byte.fixedValue);
}

TEST_P(FieldsAndBytes, OkForcesBitsAndKeepsAllOthers) {
    std::vector<Byte> after = image();
    for (const ConfigByte &byte : layout.bytes) {
        const auto address = static_cast<std::size_t>(configAddress(layout.base, byte.offset, t));
        const auto mirror = layout.mirrored ? static_cast<std::size_t>(t) : address;
        for (int value = 0; value < 256; ++value) {
            std::vector<Byte> before = after;
            before[address] = before[mirror] = static_cast<Byte>(value);
            after[address] = after[mirror] = afterOk(layout, byte, value);
            restore(before);
            if (value == 0) {
                open([](Person &person) { person.cancel(); });
                ASSERT_TRUE(image() == before) << "Cancel changes nothing; byte " << byte.offset;
            }
            open([](Person &person) { person.ok(); });
            ASSERT_TRUE(image() == after) << "byte " << byte.offset << " = " << value;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, FieldsAndBytes, ::testing::ValuesIn(editorModes),
                         [](const auto &parameter) { return std::to_string(parameter.param); });

TEST_F(EditorTest, BytesThatNoItemStandsFor) {
    const struct {
        Byte mode;
        const char *list;
        Long address;
        int stored;
        Long shown;
        std::u16string_view text;
    } cases[] = {
        {13, "Combo5", 2 * t + 8, 3, 3, u"8 MHz"}, {13, "Combo5", 2 * t + 8, 4, 0, u"1 MHz"},
        {22, "Combo2", t, 6 << 1, 1, u" 2k"},      {22, "Combo2", t, 5 << 1, -1, u""},
        {22, "Combo2", t, 1 << 1, -1, u""},
    };
    for (const auto &c : cases) {
        device(c.mode);
        poke(c.address, {c.stored});
        open([&](Person &person) {
            EXPECT_EQ(person.at(c.list).listIndex(), c.shown) << int(c.mode) << " stored " << c.stored;
            EXPECT_EQ(toUtf8(person.at(c.list).text()), toUtf8(c.text));
        });
    }
}

TEST_F(EditorTest, TheBoundaryStoresItsLowByte) {
    device(2);
    open([](Person &person) {
        person.paste("Text1", noIndex, u"ABCD3f");
        person.ok();
    });
    EXPECT_EQ(peek(t + 3, 1), std::vector<int>{0x3F});
}

} // namespace
} // namespace kx3::test
