// The C interface, from the side of its hosts.
#include "c_host.h"
#include "failing_allocation.h"
#include "kx3mpu6.h"
#include "kx6sim.h"

#include <gtest/gtest.h>

#include <cfenv>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <optional>
#include <sys/stat.h>
#include <thread>
#include <tuple>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

const std::uint16_t *units(std::u16string_view text) { return reinterpret_cast<const std::uint16_t *>(text.data()); }

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

kx3_ui emptyUi() {
    kx3_ui ui{};
    ui.struct_size = sizeof ui;
    return ui;
}

class Native : public testing::Test {
  protected:
    Native() { ::setenv("KX3MPU6_NAMESPACE", ("native" + std::to_string(::getpid())).c_str(), 1); }
    ~Native() override {
        (void)kx3_mpu_freesharebuffermpu6(mpu);
        kx3_mpu_release(mpu);
        for (const auto &[root, block] : blocks)
            kx3_block_close(block);
        kx3_set_ui(nullptr);
        kx3_set_session_host(nullptr);
    }

    void createMpu() { ASSERT_EQ(kx3_mpu_create(&mpu), KX3_OK); }
    /// Create the blocks of instance 1 and attach the plug-in to them.
    void attach(std::int32_t bufferLength) {
        for (std::int32_t i = 0; i < kx3_block_count(); ++i) {
            kx3_block_info info{};
            ASSERT_EQ(kx3_block_describe(i, &info), KX3_OK);
            const std::string name = std::string("tamsel") + info.root + (info.numbered != 0 ? "1" : "");
            const std::int32_t bytes = info.bytes != 0 ? info.bytes : bufferLength + 2200;
            ASSERT_EQ(kx3_block_create(name.c_str(), bytes, &blocks[info.root]), KX3_OK) << name;
        }
        *at<std::int32_t>("buflength") = bufferLength;
        createMpu();
        ASSERT_EQ(kx3_mpu_bufcommpu6(mpu, &one), KX3_OK) << kx3_last_error();
    }
    template <class T> T *at(const std::string &root, std::size_t index = 0) {
        return static_cast<T *>(kx3_block_data(blocks.at(root))) + index;
    }
    void setText(const std::string &root, std::size_t index, std::u16string_view text) {
        *at<std::uint32_t>(root, index) = makeString(text);
    }
    kx3_status run() {
        std::int16_t usbenable = 0x1234;
        const kx3_status status = kx3_mpu_runMpu6Prg(mpu, &usbenable);
        EXPECT_EQ(usbenable, 0x1234);
        return status;
    }

    std::map<std::string, kx3_block *> blocks;
    kx3_mpu *mpu = nullptr;
    std::int16_t one = 1;
};

TEST_F(Native, TellsItsVersions) {
    EXPECT_EQ(kx3_abi_version(), static_cast<std::uint32_t>(KX3_ABI_VERSION));
    EXPECT_STREQ(kx3_version(), KX3_EXPECTED_VERSION);
}

TEST_F(Native, AHostInCCanAttach) {
    EXPECT_EQ(c_host_buflg(1000), 1000);
    EXPECT_EQ(c_host_buflg(0), 0) << "the first host's blocks have ended";
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

TEST_F(Native, PropertiesKeepWhatTheHostWrites) {
    createMpu();
    for (const int written : {0, -5, 1}) {
        std::int32_t buflg = 7;
        std::int16_t exitpower = 7;
        if (written != 0) { // they begin as 0
            EXPECT_EQ(kx3_mpu_put_buflg(mpu, written), KX3_OK);
            EXPECT_EQ(kx3_mpu_put_exitpower(mpu, static_cast<std::int16_t>(written)), KX3_OK);
        }
        EXPECT_EQ(kx3_mpu_get_buflg(mpu, &buflg), KX3_OK);
        EXPECT_EQ(kx3_mpu_get_exitpower(mpu, &exitpower), KX3_OK);
        EXPECT_EQ(buflg, written);
        EXPECT_EQ(exitpower, written);
    }
}

TEST_F(Native, EachThreadStartsWithNothing) {
    std::thread([&] {
        createMpu();
        EXPECT_EQ(run(), KX3_SUBSCRIPT);
        EXPECT_STREQ(kx3_last_error(), "Subscript out of range");
        kx3_mpu_release(mpu);
        attach(1000);
        *at<std::int16_t>("modeltype") = 40;
        EXPECT_EQ(run(), KX3_CANNOT_CREATE_OBJECT) << "no session host yet";
        *at<std::int32_t>("buflength") = INT32_MAX;
        EXPECT_EQ(kx3_mpu_bufcommpu6(mpu, &one), KX3_OVERFLOW);
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
    EXPECT_EQ(kx3_block_create("tamselA", 0, &first), KX3_OUT_OF_MEMORY);
    EXPECT_EQ(kx3_block_create("a/b", 1, &first), KX3_OUT_OF_MEMORY);
    EXPECT_EQ(first, nullptr);
}

TEST_F(Native, BlocksAreDescribed) {
    using Row = std::tuple<std::string, std::int32_t, std::int32_t, std::int32_t, std::int32_t>;
    const std::pair<std::int32_t, Row> rows[] = {
        {4, {"usbpip0readresult", KX3_BOOLEAN, 2, 400, 1}},
        {9, {"wltbigendbuf", KX3_DOUBLE, 4, 400, 1}},
        {16, {"buflength", KX3_LONG, 4, 40, 1}},
        {19, {"modeltype", KX3_INTEGER, 4, 40, 1}},
        {37, {"MainmnuPrg", KX3_STRING, 20, 400, 1}},
        {60, {"ibuffer", KX3_BYTE, 0, 0, 0}},
        {61, {"ibuffer66", KX3_BYTE, 15, 40, 0}},
    };
    kx3_block_info info{};
    for (const auto &[index, row] : rows) {
        ASSERT_EQ(kx3_block_describe(index, &info), KX3_OK);
        EXPECT_EQ(Row(info.root, info.type, info.count, info.bytes, info.numbered), row);
    }
    EXPECT_EQ(kx3_block_count(), 62);
    EXPECT_EQ(kx3_block_describe(-1, &info), KX3_SUBSCRIPT);
    EXPECT_EQ(kx3_block_describe(62, &info), KX3_SUBSCRIPT);
}

TEST_F(Native, FindnumSkipsLivingHosts) {
    std::int16_t number = -1;
    EXPECT_EQ(kx3_findnum(&number), KX3_OK);
    EXPECT_EQ(number, 0);
    kx3_block *block = nullptr;
    ASSERT_EQ(kx3_block_create("tamselibuf10", 400, &block), KX3_OK);
    EXPECT_EQ(kx3_findnum(&number), KX3_OK);
    EXPECT_EQ(number, 1);
    kx3_block_close(block);
}

TEST_F(Native, StructuresOfCallbacksSayTheirSize) {
    kx3_ui ui{};
    EXPECT_EQ(kx3_set_ui(&ui), KX3_INVALID_CALL);
    EXPECT_STREQ(kx3_last_error(), "struct_size is not set");
    // An older host's structure ends in the middle: what lies behind it is not taken.
    attach(1000);
    *at<std::int16_t>("modeltype") = 80;
    static int calls = 0;
    kx3_session_host host{};
    host.StartCheck = [](void *, std::int32_t *) { return ++calls, kx3_status{KX3_OK}; };
    for (const std::size_t size :
         {offsetof(kx3_session_host, StartCheck), offsetof(kx3_session_host, StartCheck) + 3}) {
        host.struct_size = size;
        ASSERT_EQ(kx3_set_session_host(&host), KX3_OK);
        EXPECT_EQ(run(), KX3_OK);
        EXPECT_STREQ(kx3_session_failure(), "SessionHost has no StartCheck");
    }
    EXPECT_EQ(calls, 0);
    host.struct_size = sizeof host + 64;
    ASSERT_EQ(kx3_set_session_host(&host), KX3_OK) << "a newer host's structure is longer";
    EXPECT_EQ(run(), KX3_OK);
    EXPECT_EQ(calls, 1);
}

TEST_F(Native, MissingAndFailingCallbacksFailTheCall) {
    kx3_block *tooSmall = nullptr;
    ASSERT_EQ(kx3_block_create("tamselibuf21", 1, &tooSmall), KX3_OK);
    createMpu();
    EXPECT_EQ(kx3_mpu_bufcommpu6(mpu, &one), KX3_NOT_AVAILABLE);
    EXPECT_STREQ(kx3_last_error(), "No callback for message boxes; the box said: Unable to create memory mapped file");
    kx3_ui ui = emptyUi();
    ui.message_box = [](void *, const uint16_t *, size_t, int32_t, const uint16_t *, size_t, int32_t *) {
        return kx3_status{KX3_DEVICE_IO};
    };
    kx3_set_ui(&ui);
    EXPECT_EQ(kx3_mpu_bufcommpu6(mpu, &one), KX3_DEVICE_IO);
    EXPECT_STREQ(kx3_last_error(), "message_box failed with status 57");
    ui.message_box = [](void *, const uint16_t *, size_t, int32_t, const uint16_t *, size_t, int32_t *) {
        kx3_fail_with("no screen");
        return kx3_status{1234};
    };
    kx3_set_ui(&ui);
    EXPECT_EQ(kx3_mpu_bufcommpu6(mpu, &one), 1234);
    EXPECT_STREQ(kx3_last_error(), "no screen");
    kx3_block_close(tooSmall);
}

TEST_F(Native, AFormTellsWhetherOkHasClosedIt) {
    attach(9000);
    *at<std::uint8_t>("prgmode") = 12;
    struct End {
        const char *button;
        bool pressed; ///< else the button has the focus, and the frame closes the form
        std::int32_t accepted;
    };
    for (End end : {End{"OKButton", true, 1}, {"OKButton", false, 0}, {"CancelButton", true, 0}}) {
        kx3_ui ui = emptyUi();
        ui.context = &end;
        ui.show_form = [](void *context, kx3_form *form) -> kx3_status {
            const End &how = *static_cast<const End *>(context);
            std::int32_t button = -1;
            EXPECT_EQ(kx3_form_find(form, how.button, -1, &button), KX3_OK);
            kx3_placement place{};
            EXPECT_EQ(kx3_form_place(form, 1000, &place), KX3_SUBSCRIPT);
            EXPECT_EQ(kx3_form_place(form, button, nullptr), KX3_INVALID_CALL);
            EXPECT_EQ(kx3_form_focus(form, button, nullptr), KX3_OK);
            EXPECT_EQ(kx3_form_accepted(form), 0);
            EXPECT_EQ(how.pressed ? kx3_form_click(form, button, nullptr) : kx3_form_close(form, nullptr), KX3_OK);
            EXPECT_EQ(kx3_form_accepted(form), how.accepted) << how.button;
            return KX3_OK;
        };
        ASSERT_EQ(kx3_set_ui(&ui), KX3_OK);
        EXPECT_EQ(kx3_mpu_editfigmpu6(mpu), KX3_OK) << kx3_last_error();
    }
}

TEST_F(Native, AnObjectMayBeReleasedFromItsOwnCallback) {
    kx3_block *tooSmall = nullptr;
    ASSERT_EQ(kx3_block_create("tamselibuf21", 1, &tooSmall), KX3_OK);
    createMpu();
    kx3_ui ui = emptyUi();
    ui.context = &mpu;
    ui.message_box = [](void *context, const uint16_t *, size_t, int32_t, const uint16_t *, size_t, int32_t *) {
        kx3_mpu *&object = *static_cast<kx3_mpu **>(context);
        kx3_mpu_release(std::exchange(object, nullptr));
        return kx3_status{KX3_OK};
    };
    kx3_set_ui(&ui);
    EXPECT_EQ(kx3_mpu_bufcommpu6(mpu, &one), KX3_OK);
    EXPECT_EQ(mpu, nullptr);
    createMpu(); // ends what the thread has attached
    kx3_block_close(tooSmall);
}

TEST_F(Native, WithoutMemoryACallFailsAndTheNextOneWorks) {
    createMpu();
    kx3_block *block = nullptr;
    std::uint32_t handle = 0;
    const std::function<kx3_status()> calls[] = {
        [&] {
            const kx3_status status = kx3_block_create("tamselA", 40, &block);
            kx3_block_close(block);
            return status;
        },
        [&] {
            const kx3_status status = kx3_string_alloc(units(u"a text too long for small strings"), 33, &handle);
            if (status == KX3_OK) kx3_string_free(handle);
            return status;
        },
        [&] {
            kx3_mpu *second = nullptr;
            const kx3_status status = kx3_mpu_create(&second);
            kx3_mpu_release(second);
            return status;
        },
    };
    for (const std::function<kx3_status()> &call : calls) {
        ASSERT_EQ(call(), KX3_OK);
        int failures = 0;
        for (int k = 1;; ++k, ++failures) {
            failingAllocation = k;
            const kx3_status status = call();
            const bool reached = failingAllocation == 0;
            failingAllocation = 0;
            if (!reached) break;
            EXPECT_EQ(status, KX3_OUT_OF_MEMORY) << k;
            EXPECT_EQ(call(), KX3_OK) << k;
        }
        EXPECT_GT(failures, 0);
    }
}

/// A host whose session object drives the simulated programmer.
class NativeSession : public Native {
  protected:
    static constexpr std::int32_t size = 0x400;

    NativeSession() {
        attach(size);
        *at<std::int16_t>("modeltype") = 80;
        *at<std::uint8_t>("figvol", 1) = 1;
        *at<std::uint8_t>("wsign", 1) = 1;
        *at<std::uint8_t>("wordmode") = 1;
        *at<std::int32_t>("tlength") = size;
        *at<std::int32_t>("ramlg") = size;
        setText("algorithm", 1, u"family");
        setText("algorithm", 2, u"part");
        setText("prgnote", 2, u"passed");
        fs::create_directories(folder / "algo4" / "family");
        std::ofstream(folder / "algo4" / "family" / "part.alg") << "an image";
        fs::current_path(folder);
        const kx6sim_identity identity{0x1F, 1, {0x95}};
        kx6sim_reset();
        EXPECT_EQ(kx6sim_insert_blank_chip(size, 0, &identity), KX6SIM_OK);
        setCallbacks();
    }
    ~NativeSession() override {
        fs::current_path("/");
        fs::remove_all(folder);
    }

    static NativeSession &self(void *context) { return *static_cast<NativeSession *>(context); }
    void setCallbacks() {
        kx3_ui ui = emptyUi();
        ui.yield = [](void *) { return kx6sim_advance(), kx3_status{KX3_OK}; };
        ASSERT_EQ(kx3_set_ui(&ui), KX3_OK);
        kx3_session_host host{};
        host.struct_size = sizeof host;
        host.context = this;
        host.StartCheck = [](void *, std::int32_t *) { return kx3_status{KX3_OK}; };
        host.PrepareDevice32f = [](void *, std::uint8_t, std::uint8_t, std::int32_t *) {
            kx6sim_geometry geometry{};
            geometry.addresses = geometry.block_addresses = size;
            geometry.bytes_per_address = 1;
            geometry.module = KX6SIM_MODULE_ARM_PRG_32F;
            return kx3_status{kx6sim_prepare(&geometry) == KX6SIM_OK ? KX3_OK : KX3_DEVICE_IO};
        };
        host.AlgorithmLoaded = [](void *context, std::int32_t length) {
            return self(context).algorithmLength = length, kx3_status{KX3_OK};
        };
        host.PollStatus = [](void *context, std::int32_t request, std::int32_t *arrived) {
            EXPECT_EQ(request, 15);
            *arrived = kx6sim_fetch_report(self(context).at<std::uint8_t>("ibuf1"));
            return kx3_status{KX3_OK};
        };
        host.CompareByte = [](void *context, std::uint8_t data, std::int32_t address, std::int32_t,
                              std::int32_t *result) {
            NativeSession &host_ = self(context);
            ++host_.compared;
            *result = data == *host_.at<std::uint8_t>("ibuffer", static_cast<std::size_t>(address)) ? 0 : 1;
            return kx3_status{KX3_OK};
        };
        host.EndOperation = [](void *) { return kx6sim_end_operation(), kx3_status{KX3_OK}; };
        host.SignalPass = [](void *context, std::int32_t) { return ++self(context).passes, kx3_status{KX3_OK}; };
        ASSERT_EQ(kx3_set_session_host(&host), KX3_OK);
    }
    kx3_status runOperation(std::uint8_t operation) {
        *at<std::uint8_t>("prgresult") = 0;
        *at<std::uint8_t>("prgresult", 1) = operation;
        return run();
    }

    fs::path folder = fs::temp_directory_path() / ("kx3mpu6-native-" + std::to_string(::getpid()));
    std::int32_t algorithmLength = 0;
    int passes = 0;
    int compared = 0;
};

TEST_F(NativeSession, ProgramsAndVerifiesADevice) {
    for (std::size_t i = 0; i < size; ++i)
        *at<std::uint8_t>("ibuffer", i) = static_cast<std::uint8_t>(i * 7);
    std::map<std::int32_t, int> observed;
    ASSERT_EQ(kx3_observe_io(
                  [](void *context, const kx3_io_call *call) {
                      ++(*static_cast<std::map<std::int32_t, int> *>(context))[call->function];
                  },
                  &observed),
              KX3_OK);
    ASSERT_EQ(runOperation(3), KX3_OK) << kx3_last_error();
    EXPECT_STREQ(kx3_session_failure(), "");
    EXPECT_NE(readString(*at<std::uint32_t>("MainRtstr")).find(u"passed"), std::u16string::npos);
    EXPECT_EQ(algorithmLength, 8);
    std::vector<std::uint8_t> chip(size);
    ASSERT_EQ(kx6sim_peek(KX6SIM_AREA_MAIN, 0, chip.data(), chip.size()), KX6SIM_OK);
    EXPECT_TRUE(std::equal(chip.begin(), chip.end(), at<std::uint8_t>("ibuffer")));
    EXPECT_EQ(observed[KX3_USBCOMWRITE], 5) << "download, read-back, version, announcement, run";
    EXPECT_EQ(observed[KX3_USBBULKWRITE], 2);
    EXPECT_EQ(observed[KX3_USBBULKREAD], 1);
    kx3_observe_io(nullptr, nullptr);
    ASSERT_EQ(runOperation(5), KX3_OK);
    EXPECT_EQ(compared, size);
    EXPECT_EQ(passes, 2);
    EXPECT_EQ(observed[KX3_USBBULKREAD], 1) << "the observer was taken away";
}

/// What a host has set for its process.
struct ProcessSettings {
    std::string locale = std::setlocale(LC_ALL, nullptr);
    std::string directory = fs::current_path();
    int rounding = std::fegetround();
    int trappedExceptions = ::fegetexcept();
    mode_t fileMask = ::umask(0);
    std::vector<void (*)(int)> signalHandlers;

    ProcessSettings() {
        ::umask(fileMask);
        for (int number = 1; number < NSIG; ++number) {
            struct sigaction action {};
            if (::sigaction(number, nullptr, &action) == 0) signalHandlers.push_back(action.sa_handler);
        }
    }
    bool operator==(const ProcessSettings &) const = default;
};

TEST_F(NativeSession, NoEntryChangesTheHostsSettings) {
    std::fesetround(FE_DOWNWARD);
    const ProcessSettings before;
    std::uint8_t note = 61;
    for (const int operation : {0, 3, 5, 8, 200})
        EXPECT_EQ(runOperation(static_cast<std::uint8_t>(operation)), KX3_OK);
    *at<std::uint8_t>("prgmode") = 45;
    EXPECT_EQ(kx3_mpu_editfigmpu6(mpu), KX3_NOT_AVAILABLE) << "no presenter";
    EXPECT_EQ(kx3_mpu_mpu6warn(mpu, &note), KX3_NOT_AVAILABLE);
    EXPECT_EQ(kx3_mpu_sinitmpu6(mpu), KX3_OK);
    EXPECT_EQ(kx3_mpu_freesharebuffermpu6(mpu), KX3_OK);
    EXPECT_EQ(kx3_mpu_bufcommpu6(mpu, &one), KX3_OK);
    EXPECT_TRUE(before == ProcessSettings());
    std::fesetround(FE_TONEAREST);
}

} // namespace
