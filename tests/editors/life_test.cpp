// How editors open and close, and what they do when the blocks or the presenter misbehave.
#include "editors/editor_driver.h"

#include <limits>

namespace kx3::test {
namespace {

constexpr int overflow = static_cast<int>(ErrorNumber::overflow);
constexpr int subscript = static_cast<int>(ErrorNumber::subscript);
constexpr int invalidCall = static_cast<int>(ErrorNumber::invalidCall);

TEST_F(EditorTest, TheInstanceIsKeptAndReadsTheBytesAnew) {
    device(12, 2048, 20);
    Form *first = nullptr;
    poke(4096, {0});
    open([&](Person &person) {
        first = &person.form;
        person.choose("Combo1", 0, 1);
        EXPECT_TRUE(person.form.close()) << "closed by the frame";
    });
    EXPECT_EQ(peek(4096, 1), (std::vector<int>{0}));
    open([&](Person &person) {
        EXPECT_EQ(&person.form, first);
        EXPECT_EQ(person.at("Combo1", 0).listIndex(), 0);
        EXPECT_EQ(person.form.generation(), 2U);
    });
}

TEST_F(EditorTest, ThePresenterMayReturnOrThrowWithTheFormOpen) {
    device(12);
    Form *form = nullptr;
    open([&](Person &person) { form = &person.form; });
    EXPECT_FALSE(form->loaded());
    EXPECT_THROW(open([](Person &) { throw std::bad_alloc(); }), std::bad_alloc);
    EXPECT_FALSE(form->loaded());
    EXPECT_EQ(openError(), 0);
}

TEST_F(EditorTest, AnOpenEditorCannotBeOpenedAgain) {
    device(12);
    poke(4096, {0});
    open([&](Person &person) {
        person.choose("Combo1", 0, 1);
        EXPECT_EQ(openError(), invalidCall);
        device(50);
        EXPECT_EQ(openError([](Person &inner) { inner.cancel(); }), 0) << "another editor may open over it";
        ASSERT_TRUE(person.form.loaded());
        person.ok();
    });
    EXPECT_EQ(peek(4096, 1), (std::vector<int>{0x89})) << "OK writes where the load has read";
}

TEST_F(EditorTest, HostileLengthsAreOrderlyErrors) {
    constexpr Long most = std::numeric_limits<Long>::max();
    constexpr Long least = std::numeric_limits<Long>::min();
    const struct {
        Byte mode;
        Long tlength;
        int error;
    } cases[] = {
        {1, -1, subscript},     {1, most, subscript},        {3, -1, subscript},           {3, most / 2, subscript},
        {3, least, overflow},   {3, most / 2 + 1, overflow}, {12, most / 2 + 1, overflow}, {13, least / 2, subscript},
        {22, -1, subscript},    {22, most, subscript},       {23, most - 3, subscript},    {39, -1, subscript},
        {39, least, subscript}, {41, most, subscript},       {45, -8, subscript},          {46, 0, subscript},
        {46, 47, subscript},    {49, least + 47, overflow},  {50, 11195, subscript},       {51, 11200, subscript},
        {62, 5596, subscript},  {64, 39, subscript},         {64, least, overflow},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << "mode " << int(c.mode) << " length " << c.tlength);
        device(c.mode, c.tlength);
        const auto before = image();
        EXPECT_EQ(openError([](Person &) { ADD_FAILURE() << "the editor opened"; }), c.error);
        EXPECT_TRUE(image() == before);
    }
    for (const Byte mode : {Byte{1}, Byte{3}, Byte{13}, Byte{22}, Byte{50}}) {
        device(mode, 0);
        EXPECT_EQ(openError([](Person &person) { person.ok(); }), 0) << "an image of no bytes is no error";
    }
}

TEST_F(EditorTest, AnUnknownLanguageChangesNothing) {
    for (const Byte mode : editorModes) {
        device(mode);
        poke(4159, {0x55});
        poke(2048, {0xAA});
        const auto before = image();
        for (const Long language : {1, -3000, 36000, std::numeric_limits<Long>::max()}) {
            plugin.host.Language(0) = language;
            EXPECT_NE(openError([](Person &) { ADD_FAILURE() << "the editor opened"; }), 0) << int(mode);
        }
        EXPECT_TRUE(image() == before) << int(mode);
    }
}

TEST_F(EditorTest, AnErrorOfOkClosesTheEditorAndIsRaised) {
    device(13);
    EXPECT_EQ(openError([&](Person &person) {
                  plugin.mpu.freesharebuffermpu6();
                  EXPECT_FALSE(person.form.click(*person.form.defaultButton()));
                  EXPECT_FALSE(person.form.loaded());
              }),
              subscript);
}

TEST_F(EditorTest, TheCalibrationAddressFollowsItsCheckBox) {
    for (const int flag : {0, 1}) {
        device(4);
        poke(2 * 2048 + 4, {flag});
        open([&](Person &person) {
            const auto expectAddress = [&](bool enabled) {
                EXPECT_EQ(person.at("Check1").checked(), enabled);
                EXPECT_EQ(person.at("Text1", 1).enabled(), enabled);
                EXPECT_EQ(person.at("Label4", 1).enabled(), enabled);
                EXPECT_FALSE(person.at("Text1", 0).enabled());
                EXPECT_FALSE(person.at("Label4", 0).enabled());
            };
            expectAddress(flag == 1);
            EXPECT_EQ(person.form.paste(person.at("Text1", 1), u"1"), flag == 1);
            EXPECT_TRUE(person.form.click(person.at("Check1")));
            expectAddress(flag == 0);
        });
    }
}

} // namespace
} // namespace kx3::test
