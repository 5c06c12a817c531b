#include "configuration.h"

#include "failure.h"

#include <gtest/gtest.h>
#include <ostream>

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

    friend std::ostream &operator<<(std::ostream &out, const Case &c) {
        for (const auto &text : c.texts.bytes)
            out << text << ' ';
        for (const auto &text : c.texts.fuses)
            out << text << ' ';
        return out << "for " << c.device;
    }
};

class ConfigurationTest : public testing::TestWithParam<Case> {};

TEST_P(ConfigurationTest, SetsBytesOrSaysWhyNot) {
    const Case &c = GetParam();
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

INSTANTIATE_TEST_SUITE_P(
    Texts, ConfigurationTest,
    testing::Values(Case{"FUSE55-32K", {}, {}, ""},
                    Case{"FUSE55-32K", {{"FF", "0xda", "7"}, {}}, {{0, 0xFF}, {1, 0xDA}, {2, 7}}, ""},
                    Case{"FUSE55-32K",
                         {{}, {"low=0xFF", "high=218", "extended=0XFD", "lock=0x0F"}},
                         {{0, 0xFF}, {1, 218}, {2, 0xFD}, {7, 0x0F}},
                         ""},
                    Case{"FUSE55-32K", {{"62"}, {"15=0", "0x8=1"}}, {{0, 0x62}, {15, 0}, {8, 1}}, ""},
                    Case{"FUSE50-64K", {{}, {"fuse4=0xFE", "lock=0"}}, {{3, 0xFE}, {5, 0}}, ""},
                    Case{"ARM80-256K", {{}, {"10=1"}}, {{10, 1}}, ""},
                    Case{"ARM80-256K", {{}, {"11=1"}}, {}, "no configuration byte 11"},
                    Case{"ARM80-256K", {{}, {"low=1"}}, {}, "no configuration byte \"low\""},
                    Case{"FUSE50-64K", {{}, {"low=1"}}, {}, "no configuration byte \"low\""},
                    Case{"FUSE55-32K", {{"62"}, {"low=1"}}, {}, "byte 0 is given more than once"},
                    Case{"FUSE55-32K", {{"100"}, {}}, {}, "\"100\" is no byte"},
                    Case{"FUSE55-32K", {{"-1"}, {}}, {}, "\"-1\" is no byte"},
                    Case{"FUSE55-32K", {{"6G"}, {}}, {}, "\"6G\" is no byte"},
                    Case{"FUSE55-32K", {{}, {"low=256"}}, {}, "\"256\" is no byte"},
                    Case{"FUSE55-32K", {{}, {"low=0x"}}, {}, "\"0x\" is no byte"},
                    Case{"FUSE55-32K", {{}, {"low="}}, {}, "\"\" is no byte"},
                    Case{"FUSE55-32K", {{}, {"low"}}, {}, "has no value"},
                    Case{"FUSE55-32K", {{}, {"16=1"}}, {}, "no configuration byte 16"},
                    Case{"FUSE55-32K", {{}, {"=1"}}, {}, "no configuration byte \"\""}));

} // namespace
} // namespace kx3console
