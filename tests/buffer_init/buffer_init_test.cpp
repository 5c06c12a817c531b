#include "host/error_of.h"
#include "rig/apartment.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>

namespace kx3 {
namespace {

using test::errorOf;

constexpr Byte untouched = 0xA7;
constexpr Long bufferLength = 800;
constexpr Long bufferSize = bufferLength + deviceBufferExtra;

/// `count` times FF from place `first` on as "place=byte " texts; some places have another byte.
std::string filled(Long first, Long count, const std::map<Long, std::string> &others = {}) {
    std::string text;
    for (Long place = first; place < first + count; ++place)
        text += std::to_string(place) + '=' + (others.contains(place) ? others.at(place) : "FF") + ' ';
    return text;
}

class BufferInit : public testing::Test {
  protected:
    BufferInit() { t.attach(bufferLength); }

    /// Write the defaults of `mode` for an image of `length` units into a buffer full of `untouched`.
    std::optional<ErrorNumber> write(int mode, Long length) {
        std::ranges::fill(t.host.ibuffer.range(0, bufferSize), untouched);
        t.host.prgmode(0) = static_cast<Byte>(mode);
        t.host.tlength(0) = length;
        return errorOf([&] { t.mpu.sinitmpu6(); });
    }
    /// The bytes that are not `untouched` as "place=byte " texts, places counted from `origin`.
    std::string written(Long origin) {
        std::string text;
        for (Long i = 0; i < bufferSize; ++i)
            if (t.host.ibuffer(i) != untouched)
                text += std::to_string(i - origin) + '=' + toUtf8(hex(t.host.ibuffer(i))) + ' ';
        return text;
    }

    test::TestApartment t;
};

TEST_F(BufferInit, EveryModeWritesItsDefaultsAndNothingElse) {
    struct Case {
        std::set<int> modes;
        Long anchorFactor;
        std::string written;
    };
    const std::map<Long, std::string> mode64 = {{-37, "C5"}, {-32, "C5"}, {-28, "C5"}, {-27, "C5"},
                                                {-26, "C5"}, {-24, "C5"}, {-23, "C5"}, {-22, "C5"}};
    const Case cases[] = {
        {{3}, 2, "0=6E 1=DF 2=FF 3=FF 4=0 5=0 6=0 7=FF 8=0 9=0 "},
        {{4, 6, 10}, 2, "0=62 1=DF 2=FF 3=FF 4=0 5=0 6=0 7=FF 8=0 9=0 "},
        {{12}, 2, "0=FF 1=FF 8=0 9=0 "},
        {{13, 14}, 2, "0=E1 1=99 2=FD 3=FF 4=0 5=0 6=0 7=FF 8=0 9=0 "},
        {{15}, 2, "0=62 1=99 2=FF 3=FF 4=0 5=0 6=0 7=FF 8=0 9=0 "},
        {{18}, 2, "0=5E 1=D9 2=F4 3=FF 4=0 5=0 6=0 7=EC 8=0 9=0 "},
        {{30, 31, 32}, 2, "0=62 1=99 2=FE 3=FF 4=0 5=0 6=0 7=FF 8=0 9=0 "},
        {{55, 56}, 2, "0=62 1=D9 2=FF 3=FF 4=0 5=0 6=0 7=FF 8=0 9=0 "},
        {{58, 59, 60, 61}, 2, "0=62 1=DF 2=F9 3=FF 4=0 5=0 6=0 7=FF 8=0 9=0 "},
        {{62}, 2, "0=DE 1=E9 2=FF 3=FF 4=0 5=0 6=0 7=FF 8=0 9=0 "},
        {{45}, 1, filled(0, 8)},
        {{50}, 1, filled(0, 6, {{1, "0"}, {3, "FE"}})},
        {{46, 47, 48, 49}, 1, filled(-48, 45, {{-40, "FE"}})},
        {{64}, 1, filled(-40, 28, mode64)},
    };
    constexpr Long length = 1000;
    for (int mode = 0; mode < 256; ++mode) {
        EXPECT_EQ(write(mode, length), std::nullopt);
        const auto *row = std::ranges::find_if(cases, [&](const Case &c) { return c.modes.contains(mode); });
        const bool hasDefaults = row != std::end(cases);
        EXPECT_EQ(written(hasDefaults ? row->anchorFactor * length : 0), hasDefaults ? row->written : "") << mode;
    }
}

TEST_F(BufferInit, APositionOutsideFailsThereAndKeepsWhatWasWritten) {
    struct Case {
        Byte mode;
        Long length;
        ErrorNumber error;
        std::string written;
    };
    const Case cases[] = {
        {64, 39, ErrorNumber::subscript, ""},
        {45, bufferSize - 3, ErrorNumber::subscript, filled(bufferSize - 3, 3)},
        {12, bufferSize / 2 - 4, ErrorNumber::subscript, filled(bufferSize - 8, 2)},
        {46, bufferSize + 20, ErrorNumber::subscript, filled(bufferSize - 28, 28)}, // FE is never stored
        {3, -1, ErrorNumber::subscript, ""},
        {45, INT32_MAX, ErrorNumber::subscript, ""},
        {3, 0x40000000, ErrorNumber::overflow, ""},
        {3, -0x40000001, ErrorNumber::overflow, ""},
        {64, INT32_MIN + 39, ErrorNumber::overflow, ""},
    };
    for (const Case &c : cases) {
        EXPECT_EQ(write(c.mode, c.length), c.error) << "mode " << int{c.mode} << ", length " << c.length;
        EXPECT_EQ(written(0), c.written) << "mode " << int{c.mode} << ", length " << c.length;
    }
}

} // namespace
} // namespace kx3
