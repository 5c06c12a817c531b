#include "support/test_apartment.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <span>

namespace kx3 {
namespace {

using test::TestApartment;

constexpr Byte untouched = 0xA7;
constexpr Long bufferLength = 800;
constexpr Long bufferSize = bufferLength + deviceBufferExtra;

ErrorNumber failure(TestApartment &t) {
    try {
        t.mpu.sinitmpu6();
    } catch (const Error &error) {
        return error.number();
    }
    ADD_FAILURE() << "no error";
    return {};
}

/// A buffer full of `untouched` and a device of `mode` whose image has `length` units.
class BufferInit : public testing::Test {
  protected:
    BufferInit() {
        t.attach(bufferLength);
        refill();
    }

    void refill() { std::ranges::fill(buffer(), untouched); }
    std::span<Byte> buffer() { return t.host.ibuffer.range(0, bufferSize); }

    void select(Byte mode, Long length) {
        t.host.prgmode(0) = mode;
        t.host.tlength(0) = length;
    }

    /// The buffer as "+k=byte" for every byte that is not `untouched`, k counted from `origin`.
    std::string written(Long origin) {
        std::string text;
        for (Long i = 0; i < bufferSize; ++i)
            if (t.host.ibuffer(i) != untouched)
                text += (text.empty() ? "" : " ") + std::to_string(i - origin) + "=" + toUtf8(hex(t.host.ibuffer(i)));
        return text;
    }

    TestApartment t;
};

std::string run(Long first, const std::vector<std::string> &bytes) {
    std::string text;
    for (const std::string &byte : bytes)
        text += (text.empty() ? "" : " ") + std::to_string(first++) + "=" + byte;
    return text;
}

TEST_F(BufferInit, EveryModeWritesItsDefaultsAndNothingElse) {
    const std::vector<std::string> mode64Bytes = [] {
        std::vector<std::string> bytes(28, "FF");
        for (const int k : {3, 8, 12, 13, 14, 16, 17, 18})
            bytes[static_cast<std::size_t>(k)] = "C5";
        return bytes;
    }();
    const std::vector<std::string> mode46Bytes = [] {
        std::vector<std::string> bytes(45, "FF");
        bytes[8] = "FE";
        return bytes;
    }();
    struct Case {
        std::set<int> modes;
        Long anchorFactor;
        std::string written;
    };
    const Case cases[] = {
        {{3}, 2, "0=6E 1=DF 2=FF 3=FF 4=0 5=0 6=0 7=FF 8=0 9=0"},
        {{4, 6, 10}, 2, "0=62 1=DF 2=FF 3=FF 4=0 5=0 6=0 7=FF 8=0 9=0"},
        {{12}, 2, "0=FF 1=FF 8=0 9=0"},
        {{13, 14}, 2, "0=E1 1=99 2=FD 3=FF 4=0 5=0 6=0 7=FF 8=0 9=0"},
        {{15}, 2, "0=62 1=99 2=FF 3=FF 4=0 5=0 6=0 7=FF 8=0 9=0"},
        {{18}, 2, "0=5E 1=D9 2=F4 3=FF 4=0 5=0 6=0 7=EC 8=0 9=0"},
        {{30, 31, 32}, 2, "0=62 1=99 2=FE 3=FF 4=0 5=0 6=0 7=FF 8=0 9=0"},
        {{55, 56}, 2, "0=62 1=D9 2=FF 3=FF 4=0 5=0 6=0 7=FF 8=0 9=0"},
        {{58, 59, 60, 61}, 2, "0=62 1=DF 2=F9 3=FF 4=0 5=0 6=0 7=FF 8=0 9=0"},
        {{62}, 2, "0=DE 1=E9 2=FF 3=FF 4=0 5=0 6=0 7=FF 8=0 9=0"},
        {{45}, 1, "0=FF 1=FF 2=FF 3=FF 4=FF 5=FF 6=FF 7=FF"},
        {{50}, 1, "0=FF 1=0 2=FF 3=FE 4=FF 5=FF"},
        {{46, 47, 48, 49}, 1, run(-48, mode46Bytes)},
        {{64}, 1, run(-40, mode64Bytes)},
    };
    constexpr Long length = 1000;
    for (int mode = 0; mode < 256; ++mode) {
        refill();
        select(static_cast<Byte>(mode), length);
        t.mpu.sinitmpu6();
        const auto *row = std::ranges::find_if(cases, [&](const Case &c) { return c.modes.contains(mode); });
        if (row == std::end(cases))
            EXPECT_EQ(written(0), "") << "mode " << mode;
        else
            EXPECT_EQ(written(row->anchorFactor * length), row->written) << "mode " << mode;
    }
}

TEST_F(BufferInit, APositionOutsideFailsThereAndKeepsWhatWasWritten) {
    struct Case {
        Byte mode;
        Long length;
        ErrorNumber error;
        std::string written; ///< counted from the start of the buffer
    };
    const Case cases[] = {
        {64, 0, ErrorNumber::subscript, ""},
        {64, 39, ErrorNumber::subscript, ""},
        {45, bufferSize - 3, ErrorNumber::subscript, "2997=FF 2998=FF 2999=FF"},
        {3, bufferSize / 2 - 1, ErrorNumber::subscript, "2998=6E 2999=DF"},
        {12, bufferSize / 2 - 4, ErrorNumber::subscript, "2992=FF 2993=FF"},
        {50, -1, ErrorNumber::subscript, ""},
        {3, -1, ErrorNumber::subscript, ""},
        {45, INT32_MAX, ErrorNumber::subscript, ""},
        {3, 0x40000000, ErrorNumber::overflow, ""},
        {3, -0x40000001, ErrorNumber::overflow, ""},
        {46, INT32_MIN, ErrorNumber::overflow, ""},
        {64, INT32_MIN + 39, ErrorNumber::overflow, ""},
    };
    for (const Case &c : cases) {
        refill();
        select(c.mode, c.length);
        EXPECT_EQ(failure(t), c.error) << "mode " << int{c.mode} << ", length " << c.length;
        EXPECT_EQ(written(0), c.written) << "mode " << int{c.mode} << ", length " << c.length;
    }
}

TEST_F(BufferInit, AFailedOverlapKeepsTheFirstPass) {
    select(46, bufferSize + 20); // FF reaches the end of the buffer, FE is never stored
    EXPECT_EQ(failure(t), ErrorNumber::subscript);
    EXPECT_EQ(written(bufferSize), run(-28, std::vector<std::string>(28, "FF")));
}

TEST(BufferInitUnattached, Fails) {
    TestApartment t;
    EXPECT_EQ(failure(t), ErrorNumber::subscript);
}

} // namespace
} // namespace kx3
