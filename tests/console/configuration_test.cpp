#include "configuration.h"

#include "failure.h"

#include <gtest/gtest.h>

namespace kx3console {
namespace {

const Profile &sample(std::string_view name) {
    static const ProfileStore store = [] {
        ProfileStore samples;
        samples.add(sampleProfiles(), "samples");
        return samples;
    }();
    return store.find(name);
}

using Bytes = std::vector<std::pair<std::size_t, int>>;

struct Case {
    const char *device;
    ConfigurationTexts texts;
    Bytes bytes;       ///< offsets and values
    const char *error; ///< part of the message when it is refused
};

const Case cases[] = {
    {"FUSE55-32K", {}, {}, ""},
    {"FUSE55-32K", {{"FF", "0xda", "7"}, {}}, {{0, 0xFF}, {1, 0xDA}, {2, 7}}, ""},
    {"FUSE55-32K",
     {{}, {"low=0xFF", "high=218", "extended=0XFD", "lock=0x0F"}},
     {{0, 0xFF}, {1, 218}, {2, 0xFD}, {7, 0x0F}},
     ""},
    {"FUSE55-32K", {{"62"}, {"15=0", "0x8=1"}}, {{0, 0x62}, {15, 0}, {8, 1}}, ""},
    {"FUSE50-64K", {{}, {"fuse4=0xFE", "lock=0"}}, {{3, 0xFE}, {5, 0}}, ""},
    {"ARM80-256K", {{}, {"10=1"}}, {{10, 1}}, ""},
    {"ARM80-256K", {{}, {"11=1"}}, {}, "no configuration byte 11"},
    {"ARM80-256K", {{}, {"low=1"}}, {}, "no configuration byte \"low\""},
    {"FUSE50-64K", {{}, {"low=1"}}, {}, "no configuration byte \"low\""},
    {"FUSE55-32K", {{"62"}, {"low=1"}}, {}, "byte 0 is given more than once"},
    {"FUSE55-32K", {{"100"}, {}}, {}, "\"100\" is no byte"},
    {"FUSE55-32K", {{"-1"}, {}}, {}, "\"-1\" is no byte"},
    {"FUSE55-32K", {{"6G"}, {}}, {}, "\"6G\" is no byte"},
    {"FUSE55-32K", {{}, {"low=256"}}, {}, "\"256\" is no byte"},
    {"FUSE55-32K", {{}, {"low=0x"}}, {}, "\"0x\" is no byte"},
    {"FUSE55-32K", {{}, {"low="}}, {}, "\"\" is no byte"},
    {"FUSE55-32K", {{}, {"low"}}, {}, "has no value"},
    {"FUSE55-32K", {{}, {"16=1"}}, {}, "no configuration byte 16"},
    {"FUSE55-32K", {{}, {"=1"}}, {}, "no configuration byte \"\""},
};

TEST(Configuration, SetsBytesOrSaysWhyNot) {
    for (const Case &c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.texts.bytes) + testing::PrintToString(c.texts.fuses) + c.device);
        Bytes bytes;
        try {
            for (const auto &[offset, value] : configurationChanges(c.texts, sample(c.device)))
                bytes.emplace_back(offset, value);
            EXPECT_STREQ(c.error, "");
        } catch (const Failure &failure) {
            EXPECT_EQ(failure.code(), Exit::usage);
            EXPECT_STRNE(c.error, "") << failure.message();
            EXPECT_NE(failure.message().find(c.error), std::string::npos) << failure.message();
        }
        EXPECT_EQ(bytes, c.bytes);
    }
}

} // namespace
} // namespace kx3console
