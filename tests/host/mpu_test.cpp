// The entry class.
#include "error_of.h"
#include "rig/apartment.h"

#include <gtest/gtest.h>

namespace kx3::test {
namespace {

using Calls = std::vector<std::string>;

class Mpu : public testing::Test {
  protected:
    /// Run an operation that the host refuses at its preparation.
    void runRefused() {
        t.sessionHost->prepare = 2;
        t.sessionHost->calls.clear();
        Boolean usbenable;
        usbenable.bits = t.mpu.exitpower.bits = 0x1234;
        t.mpu.runMpu6Prg(usbenable);
        EXPECT_EQ(usbenable.bits, 0x1234) << "neither read nor written";
        EXPECT_EQ(t.mpu.exitpower.bits, 0x1234);
    }
    TestApartment t;
};

TEST_F(Mpu, CreationAttachesNothing) {
    EXPECT_EQ(t.mpu.buflg, 0);
    EXPECT_FALSE(t.mpu.exitpower);
    Boolean usbenable;
    EXPECT_EQ(errorOf([&] { t.mpu.runMpu6Prg(usbenable); }), ErrorNumber::subscript);
    EXPECT_EQ(errorOf([&] { t.mpu.editfigmpu6(); }), ErrorNumber::subscript);
    EXPECT_EQ(errorOf([&] { t.mpu.sinitmpu6(); }), ErrorNumber::subscript);
    t.mpu.freesharebuffermpu6();
    EXPECT_EQ(t.apartment.blocks().ibuffer.count(), 0U);
}

TEST_F(Mpu, AttachSetsBuflgAndTheDeviceBuffer) {
    t.attach(1000);
    const auto expectState = [this](Long buflg, std::uint32_t bufferBytes) {
        EXPECT_EQ(t.mpu.buflg, buflg);
        EXPECT_EQ(t.apartment.blocks().ibuffer.count(), bufferBytes);
        EXPECT_EQ(t.apartment.blocks().prgmode.count(), 4U);
    };
    expectState(1000, 3200);
    EXPECT_TRUE(t.ui->boxes.empty());
    for (const Long size : {INT32_MAX, INT32_MAX - 2199}) {
        t.host.buflength(0) = size;
        EXPECT_EQ(errorOf([&] { t.mpu.bufcommpu6(1); }), ErrorNumber::overflow);
        expectState(1000, 3200);
    }
    t.mpu.freesharebuffermpu6();
    expectState(1000, 1);
    t.host.buflength(0) = 0;
    t.mpu.bufcommpu6(1);
    expectState(0, 2200);
}

TEST_F(Mpu, TheEndOfAnyObjectReleasesTheMainBlocks) {
    t.attach(1000);
    { const clsMPU second(t.apartment); }
    EXPECT_EQ(t.apartment.blocks().prgmode.count(), 1U);
    EXPECT_EQ(t.apartment.blocks().ibuffer.count(), 3200U);
}

TEST_F(Mpu, RunDispatchesByModelTypeAndSelection) {
    t.attach(1000);
    t.host.figmode(0) = 7;
    const Calls none, window = {"StartCheck", "PrepareChip 7"}, arm = {"StartCheck", "PrepareDevice 7 0"},
                      arm32f = {"StartCheck", "PrepareDevice32f 7 0"};
    struct Case {
        Integer modelType;
        Byte selection;
        const Calls &calls;
    };
    const Case cases[] = {{-32768, 0x40, none}, {39, 0x40, none},     {40, 0x00, window}, {40, 0x01, window},
                          {40, 0x41, window},   {40, 0x40, arm},      {73, 0x40, arm},    {73, 0xBE, window},
                          {73, 0xFE, arm},      {73, 0xFF, window},   {74, 0x00, arm32f}, {74, 0x40, arm32f},
                          {74, 0x41, arm32f},   {32767, 0x41, arm32f}};
    for (const Case &c : cases) {
        t.host.modeltype(0) = c.modelType;
        t.host.selmode(0) = c.selection;
        runRefused();
        EXPECT_EQ(t.sessionHost->calls, c.calls) << c.modelType << ' ' << int{c.selection};
    }
}

TEST_F(Mpu, AHostsMessageLoopCannotDisturbARunningOperation) {
    int calls = 0;
    const auto disturb = [&](const std::string &call) {
        if (call != "StartCheck" || ++calls % 2 == 0) return;
        Boolean usbenable;
        EXPECT_EQ(errorOf([&] { t.mpu.runMpu6Prg(usbenable); }), ErrorNumber::invalidCall);
        EXPECT_EQ(errorOf([&] { t.mpu.bufcommpu6(2); }), ErrorNumber::invalidCall);
        EXPECT_EQ(errorOf([&] { t.mpu.freesharebuffermpu6(); }), ErrorNumber::invalidCall);
        { const clsMPU second(t.apartment); }
        EXPECT_EQ(t.apartment.blocks().prgmode.count(), 4U) << "released only when the operation has ended";
    };
    for (const Integer model : {Integer{40}, Integer{80}}) {
        t.attach(1000);
        t.host.modeltype(0) = model;
        t.sessionHost->onCall = disturb;
        runRefused();
        EXPECT_EQ(t.apartment.blocks().prgmode.count(), 1U);
        EXPECT_EQ(t.apartment.blocks().ibuffer.count(), 3200U);
        t.mpu.bufcommpu6(1);
        runRefused();
        EXPECT_EQ(t.apartment.blocks().prgmode.count(), 4U) << "a release counts once";
    }
    EXPECT_EQ(calls, 4);
}

} // namespace
} // namespace kx3::test
