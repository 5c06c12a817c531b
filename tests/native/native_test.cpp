// The C interface, from the side of its hosts.
#include "native_host.h"

#include <new>
#include <thread>
#include <tuple>

extern "C" std::int32_t c_host_buflg(void);

/// The allocation of this thread that fails next, counted from 1; 0 for none.
static thread_local int failingAllocation = 0;

// Replaced for the test program and the libraries that it loads.
void *operator new(std::size_t size) {
    const bool fails = failingAllocation > 0 && --failingAllocation == 0;
    void *const memory = fails ? nullptr : std::malloc(size);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}
void operator delete(void *memory) noexcept { std::free(memory); }
void operator delete(void *memory, std::size_t) noexcept { std::free(memory); }

namespace kx3::test {
namespace {

std::uint32_t makeString(std::u16string_view text) {
    std::uint32_t handle = 0;
    EXPECT_EQ(kx3_string_alloc(units(text), text.size(), &handle), KX3_OK);
    return handle;
}

std::u16string readString(std::uint32_t handle) {
    std::size_t length = 0;
    EXPECT_EQ(kx3_string_read(handle, nullptr, 0, &length), KX3_OK);
    std::u16string text(length, u'\0');
    EXPECT_EQ(kx3_string_read(handle, reinterpret_cast<std::uint16_t *>(text.data()), length, &length), KX3_OK);
    return text;
}

class Native : public testing::Test, public NativeHost {
  protected:
    kx3_status run() {
        std::int16_t usbenable = 0x1234;
        const kx3_status status = kx3_mpu_runMpu6Prg(mpu, &usbenable);
        EXPECT_EQ(usbenable, 0x1234);
        return status;
    }
};

TEST_F(Native, TellsItsVersionsAndServesAHostInC) {
    EXPECT_EQ(kx3_abi_version(), static_cast<std::uint32_t>(KX3_ABI_VERSION));
    EXPECT_STREQ(kx3_version(), KX3_EXPECTED_VERSION);
    EXPECT_EQ(c_host_buflg(), 0);
}

TEST_F(Native, NullArgumentsAreNamed) {
    createMpu();
    kx3_block *block = nullptr;
    std::size_t length = 0;
    std::uint32_t handle = 0;
    const std::pair<std::string, std::function<kx3_status()>> cases[] = {
        {"mpu", [] { return kx3_mpu_create(nullptr); }},
        {"value", [&] { return kx3_mpu_get_buflg(mpu, nullptr); }},
        {"value", [&] { return kx3_mpu_get_exitpower(mpu, nullptr); }},
        {"usbenable", [&] { return kx3_mpu_runMpu6Prg(mpu, nullptr); }},
        {"no", [&] { return kx3_mpu_mpu6warn(mpu, nullptr); }},
        {"num", [&] { return kx3_mpu_bufcommpu6(mpu, nullptr); }},
        {"handle", [] { return kx3_string_alloc(nullptr, 0, nullptr); }},
        {"text", [&] { return kx3_string_alloc(nullptr, 1, &handle); }},
        {"length", [] { return kx3_string_read(0, nullptr, 0, nullptr); }},
        {"buffer", [&] { return kx3_string_read(makeString(u"x"), nullptr, 1, &length); }},
        {"block", [] { return kx3_block_create("x", 1, nullptr); }},
        {"name", [&] { return kx3_block_create(nullptr, 1, &block); }},
        {"name", [&] { return kx3_block_open(nullptr, &block); }},
        {"info", [] { return kx3_block_describe(0, nullptr); }},
        {"number", [] { return kx3_findnum(nullptr); }},
    };
    for (const auto &[name, call] : cases) {
        EXPECT_EQ(call(), KX3_INVALID_CALL) << name;
        EXPECT_EQ(kx3_last_error(), "Argument " + name + " is NULL");
    }
    kx3_mpu_release(nullptr);
    kx3_block_close(nullptr);
    kx3_string_free(0);
    EXPECT_EQ(kx3_block_data(nullptr), nullptr);
    EXPECT_EQ(kx3_block_size(nullptr), 0U);
}

TEST_F(Native, HandlesOfReleasedOrForeignObjectsAreRefused) {
    createMpu();
    std::int32_t value = 0;
    std::thread([&] {
        EXPECT_STREQ(kx3_last_error(), "") << "each thread has its own";
        EXPECT_EQ(kx3_mpu_get_buflg(mpu, &value), KX3_OBJECT_NOT_SET);
        EXPECT_STRNE(kx3_last_error(), "");
        kx3_mpu_release(mpu);
    }).join();
    EXPECT_EQ(kx3_mpu_get_buflg(mpu, &value), KX3_OK) << "the other thread released nothing";
    kx3_mpu_release(mpu);
    EXPECT_EQ(kx3_mpu_put_buflg(mpu, 1), KX3_OBJECT_NOT_SET);
    kx3_mpu_release(mpu);
    mpu = nullptr;
    EXPECT_EQ(kx3_mpu_editfigmpu6(nullptr), KX3_OBJECT_NOT_SET);
}

TEST_F(Native, PropertiesBeginAsZeroAndKeepWhatTheHostWrites) {
    createMpu();
    std::int32_t buflg = 7;
    std::int16_t exitpower = 7, last = 0;
    for (const std::int16_t written : {std::int16_t{-5}, std::int16_t{1}, std::int16_t{0}}) {
        EXPECT_EQ(kx3_mpu_get_buflg(mpu, &buflg), KX3_OK);
        EXPECT_EQ(kx3_mpu_get_exitpower(mpu, &exitpower), KX3_OK);
        EXPECT_EQ(buflg, exitpower);
        EXPECT_EQ(buflg, std::exchange(last, written));
        EXPECT_EQ(kx3_mpu_put_buflg(mpu, written), KX3_OK);
        EXPECT_EQ(kx3_mpu_put_exitpower(mpu, written), KX3_OK);
    }
}

TEST_F(Native, EachThreadStartsWithNothing) {
    std::thread([&] {
        createMpu();
        EXPECT_EQ(run(), KX3_SUBSCRIPT);
        EXPECT_STREQ(kx3_last_error(), "Subscript out of range: tamselmodeltype(0) of 0");
        kx3_mpu_release(mpu);
        attach(1000);
        at<std::int16_t>("modeltype") = 40;
        EXPECT_EQ(run(), KX3_CANNOT_CREATE_OBJECT) << "no session host yet";
        at<std::int32_t>("buflength") = INT32_MAX;
        EXPECT_EQ(kx3_mpu_bufcommpu6(mpu, &instance), KX3_OVERFLOW);
        EXPECT_STREQ(kx3_last_error(), "Overflow");
    }).join();
    mpu = nullptr;
}

TEST_F(Native, StringsAreCopiesBehindHandles) {
    const std::u16string text(u"a\0\U0001F600", 4);
    const std::uint32_t handle = makeString(text), empty = makeString(u"");
    EXPECT_EQ(readString(handle), text);
    EXPECT_EQ(readString(empty), u"");
    EXPECT_NE(empty, 0U);
    EXPECT_EQ(readString(0), u"");
    std::uint16_t cut[3] = {0, 0, 0xAAAA};
    std::size_t length = 0;
    EXPECT_EQ(kx3_string_read(handle, cut, 2, &length), KX3_OK);
    EXPECT_EQ(length, 4U);
    EXPECT_EQ(cut[0], u'a');
    EXPECT_EQ(cut[2], 0xAAAA);
    kx3_string_free(handle);
    kx3_string_free(handle);
    EXPECT_EQ(kx3_string_read(handle, nullptr, 0, &length), KX3_INVALID_CALL);
    EXPECT_EQ(readString(empty), u"");
}

TEST_F(Native, BlocksAreCreatedByOneHostOnly) {
    kx3_block *first = nullptr, *second = nullptr;
    EXPECT_EQ(kx3_block_open("tamselA", &first), KX3_FILE_NOT_FOUND);
    ASSERT_EQ(kx3_block_create("tamselA", 4097, &first), KX3_OK);
    EXPECT_EQ(kx3_block_size(first), 8192U);
    EXPECT_EQ(kx3_block_create("tamselA", 1, &second), KX3_ALREADY_EXISTS);
    EXPECT_EQ(second, nullptr);
    ASSERT_EQ(kx3_block_open("tamselA", &second), KX3_OK);
    *static_cast<char *>(kx3_block_data(first)) = 'x';
    EXPECT_EQ(*static_cast<char *>(kx3_block_data(second)), 'x');
    kx3_block_close(first);
    EXPECT_EQ(kx3_block_create("tamselA", 1, &first), KX3_ALREADY_EXISTS) << "the second holder keeps it alive";
    kx3_block_close(second);
    ASSERT_EQ(kx3_block_create("tamselA", 1, &first), KX3_OK);
    EXPECT_EQ(*static_cast<char *>(kx3_block_data(first)), 0);
    kx3_block_close(first);
    EXPECT_EQ(kx3_block_create("tamselA", 0, &first), KX3_INVALID_CALL);
    EXPECT_EQ(kx3_block_create("a/b", 1, &first), KX3_BAD_NAME);
    EXPECT_EQ(first, nullptr);
}

TEST_F(Native, BlocksAreDescribed) {
    using Row = std::tuple<std::int32_t, std::string, std::int32_t, std::int32_t, std::int32_t, std::int32_t>;
    kx3_block_info info = kx3_block_info_init();
    for (const Row &row : {Row{4, "usbpip0readresult", KX3_BOOLEAN, 2, 400, 1},
                           {9, "wltbigendbuf", KX3_DOUBLE, 4, 400, 1},
                           {37, "MainmnuPrg", KX3_STRING, 20, 400, 1},
                           {60, "ibuffer", KX3_BYTE, 0, 0, 0}}) {
        ASSERT_EQ(kx3_block_describe(std::get<0>(row), &info), KX3_OK);
        EXPECT_EQ(Row(std::get<0>(row), info.root, info.type, info.count, info.bytes, info.numbered), row);
    }
    for (const std::int32_t index : {-1, kx3_block_count()})
        EXPECT_EQ(kx3_block_describe(index, &info), KX3_SUBSCRIPT);
}

TEST_F(Native, BytesOfAnEditorAreDescribed) {
    const struct {
        kx3_device device;
        std::int32_t byte;
        std::vector<std::int32_t> detail; ///< base, offset, bits of fields, bits that OK keeps
    } cases[] = {
        {{sizeof(kx3_device), 0x400, 20, 1, 0}, 1, {KX3_BASE_LENGTH, 1, 0x13, 0}},
        {{sizeof(kx3_device), 0x400, 20, 13, 0}, 1, {KX3_BASE_TWICE_LENGTH, 1, 0xFF, 0x20}}, // a greyed row
        {{sizeof(kx3_device), 0x400, 20, 13, 0},
         2,
         {KX3_BASE_TWICE_LENGTH, 2, 0x7F, 0x3F}}, // a hidden frame, two bits forced
        {{sizeof(kx3_device), 0x400, 20, 13, 0}, 3, {KX3_BASE_TWICE_LENGTH, 3, 0xFF, 0xFF}}, // only read
        {{sizeof(kx3_device), 0x400, 20, 13, 0},
         5,
         {KX3_BASE_TWICE_LENGTH, 5, 0xFF, 0}}, // greyed until a box is checked
        {{sizeof(kx3_device), 0x400, 20, 15, 0},
         8,
         {KX3_BASE_TWICE_LENGTH, 8, 0xFF, 0}}, // hidden; a value without an item is lost
        {{sizeof(kx3_device), 40960, 20, 22, 0}, 0, {KX3_BASE_LENGTH, 0, 0x1F, 0x0E}}, // a list without items
        {{sizeof(kx3_device), 0x400, 20, 41, 0}, 0, {KX3_BASE_BUFFER_START, 0x103F, 0xF5, 0}},
    };
    for (const auto &[device, byte, expected] : cases) {
        kx3_editor *editor = nullptr;
        ASSERT_EQ(kx3_editor_describe(&device, 0, &editor), KX3_OK);
        kx3_config_byte_info detail = kx3_config_byte_info_init();
        EXPECT_EQ(kx3_editor_byte(editor, byte, &detail), KX3_OK);
        EXPECT_EQ((std::vector{detail.base, detail.offset, detail.field_mask, detail.kept_mask}), expected);
        detail.struct_size = offsetof(kx3_config_byte_info, kept_mask);
        detail.kept_mask = -1;
        EXPECT_EQ(kx3_editor_byte(editor, byte, &detail), KX3_OK);
        EXPECT_EQ(detail.kept_mask, -1) << "an older host's structure ends before it";
        detail.struct_size = 0;
        EXPECT_EQ(kx3_editor_byte(editor, byte, &detail), KX3_INVALID_CALL);
        kx3_editor_free(editor);
    }
}

TEST_F(Native, DefaultBytesAndLanguagesAreListed) {
    const kx3_device device{sizeof(kx3_device), 0x400, 20, 46, 0};
    std::array<std::int32_t, 45> addresses{};
    std::array<std::uint8_t, 45> values{};
    std::size_t count = 0;
    ASSERT_EQ(kx3_default_bytes(&device, addresses.data(), values.data(), 9, &count), KX3_OK);
    EXPECT_EQ(count, addresses.size());
    EXPECT_EQ(std::tuple(addresses[7], values[7]), std::tuple(0x400 - 41, 0xFF));
    EXPECT_EQ(std::tuple(addresses[8], values[8]), std::tuple(0x400 - 40, 0xFE)) << "the later of two runs";
    EXPECT_EQ(addresses[9], 0) << "no more than was asked for";

    kx3_language_info language = kx3_language_info_init();
    ASSERT_EQ(kx3_language_describe(kx3_language_count() - 1, &language), KX3_OK);
    EXPECT_STREQ(language.name, "ru");
    EXPECT_EQ(language.block, 33000);
    EXPECT_EQ(kx3_language_describe(kx3_language_count(), &language), KX3_SUBSCRIPT);
}

TEST_F(Native, StructuresOfCallbacksSayTheirSize) {
    const kx3_ui ui{};
    EXPECT_EQ(kx3_set_ui(&ui), KX3_INVALID_CALL);
    EXPECT_STREQ(kx3_last_error(), "struct_size is not set");
    // An older host's structure ends in the middle: what lies behind it is not taken.
    attach(1000);
    at<std::int16_t>("modeltype") = 80;
    static int calls = 0;
    kx3_session_host host = kx3_session_host_init();
    host.StartCheck = [](void *, std::int32_t *) { return ++calls, kx3_status{KX3_OK}; };
    for (const std::size_t size :
         {offsetof(kx3_session_host, StartCheck), offsetof(kx3_session_host, StartCheck) + 3}) {
        host.struct_size = size;
        ASSERT_EQ(kx3_set_session_host(&host), KX3_OK);
        EXPECT_EQ(run(), KX3_OK);
        const char *explanation = nullptr;
        EXPECT_EQ(kx3_session_outcome(&explanation), KX3_ENDED_BY_ERROR);
        EXPECT_STREQ(explanation, "SessionHost has no StartCheck");
    }
    EXPECT_EQ(calls, 0);
    host.struct_size = sizeof host + 64;
    ASSERT_EQ(kx3_set_session_host(&host), KX3_OK) << "a newer host's structure is longer";
    EXPECT_EQ(run(), KX3_OK);
    EXPECT_EQ(calls, 1);
}

TEST_F(Native, ACallThatNeedsACallback) {
    kx3_block *tooSmall = nullptr;
    ASSERT_EQ(kx3_block_create("tamselibuf21", 1, &tooSmall), KX3_OK);
    createMpu();
    const auto expectAttach = [this](kx3_status status, const char *error) {
        EXPECT_EQ(kx3_mpu_bufcommpu6(mpu, &instance), status);
        EXPECT_STREQ(kx3_last_error(), error);
    };
    expectAttach(KX3_NOT_AVAILABLE, "No callback for message boxes; the box said: Unable to create memory mapped file");
    setUi();
    onBox = [](auto...) { return kx3_status{KX3_DEVICE_IO}; };
    expectAttach(KX3_DEVICE_IO, "message_box failed with status 57");
    onBox = [](auto...) { return kx3_fail_with("no screen"), kx3_status{1234}; };
    expectAttach(1234, "no screen");
    onBox = [this](auto...) { return kx3_mpu_release(std::exchange(mpu, nullptr)), kx3_status{KX3_OK}; };
    EXPECT_EQ(kx3_mpu_bufcommpu6(mpu, &instance), KX3_OK) << "the object's release waits for its call";
    EXPECT_EQ(mpu, nullptr);
    createMpu(); // ends what the thread has attached
    kx3_block_close(tooSmall);
}

TEST_F(Native, WhatAFormIsAskedWronglyIsAnError) {
    attach(9000);
    at<std::uint8_t>("prgmode") = 12;
    kx3_form *former = nullptr;
    onForm = [&](kx3_form *form) {
        former = form;
        kx3_placement place = kx3_placement_init();
        kx3_control_info control = kx3_control_info_init();
        std::int32_t found = -1;
        EXPECT_EQ(kx3_form_place(form, 1000, &place), KX3_SUBSCRIPT);
        EXPECT_EQ(kx3_form_place(form, 0, nullptr), KX3_INVALID_CALL);
        EXPECT_EQ(kx3_form_control(form, -1, &control), KX3_SUBSCRIPT);
        EXPECT_EQ(kx3_form_find(form, "OKButton", 1, &found), KX3_SUBSCRIPT);
        EXPECT_EQ(kx3_form_find(form, "OKButton", 40000, &found), KX3_OVERFLOW);
        kx3_text item{};
        EXPECT_EQ(kx3_form_item(form, 0, 0, &item), KX3_SUBSCRIPT) << "a frame has no items";
        EXPECT_EQ(kx3_form_paste(form, 0, nullptr, 1, nullptr), KX3_INVALID_CALL);
        EXPECT_EQ(kx3_form_click(form, 0, &found), KX3_OK);
        EXPECT_EQ(found, 0) << "a click on a frame has no effect";
        std::int32_t button = -1;
        EXPECT_EQ(kx3_form_find(form, "OKButton", -1, &button), KX3_OK);
        EXPECT_EQ(kx3_form_focus(form, button, &found), KX3_OK);
        EXPECT_EQ(found, 1);
    };
    setUi();
    EXPECT_EQ(kx3_mpu_editfigmpu6(mpu), KX3_OK) << kx3_last_error();
    EXPECT_EQ(kx3_form_click(former, 0, nullptr), KX3_OBJECT_NOT_SET) << "the form is shown no more";
    EXPECT_EQ(kx3_form_loaded(former), 0);
    EXPECT_EQ(kx3_form_accepted(former), 0);
}

TEST_F(Native, WithoutMemoryACallFailsAndTheNextOneWorks) {
    createMpu();
    const auto call = [] {
        kx3_block *block = nullptr;
        std::uint32_t handle = 0;
        kx3_mpu *second = nullptr;
        kx3_status status = kx3_block_create("tamselA", 40, &block);
        if (status == KX3_OK) status = kx3_string_alloc(units(u"a text too long for small strings"), 33, &handle);
        if (status == KX3_OK) status = kx3_mpu_create(&second);
        kx3_block_close(block);
        kx3_string_free(handle);
        kx3_mpu_release(second);
        return status;
    };
    ASSERT_EQ(call(), KX3_OK);
    int failures = 0;
    for (bool reached = true; reached; ++failures) {
        failingAllocation = failures + 1;
        const kx3_status status = call();
        reached = failingAllocation == 0;
        failingAllocation = 0;
        EXPECT_EQ(status, reached ? KX3_OUT_OF_MEMORY : KX3_OK) << failures;
        EXPECT_EQ(call(), KX3_OK) << failures;
    }
    EXPECT_GT(failures, 3);
}

} // namespace
} // namespace kx3::test
