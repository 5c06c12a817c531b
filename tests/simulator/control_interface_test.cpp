// The libraries as the plug-in and a C host see them.
#include "doorstep/programmer_libraries.h"
#include "simulator/kx6sim.h"

#include <gtest/gtest.h>

#include <array>

namespace kx3sim {
namespace {

using Byte = std::uint8_t;

/// A function of the control interface, bound by name as a host does.
#define SIM(name) library.function<decltype(kx6sim_##name)>("kx6sim_" #name)

class ControlInterface : public testing::Test {
  protected:
    ControlInterface() { SIM(reset)(); }

    kx3::platform::DynamicLibrary library{"kx6io"};
    kx6sim_identity identity{0x1E, 2, {0x95, 0x0F}};
    Byte byte = 0x55;
};

TEST_F(ControlInterface, WhatCannotBeIsRefusedAndChangesNothing) {
    EXPECT_EQ(SIM(interface_version)(), static_cast<std::uint32_t>(KX6SIM_INTERFACE_VERSION));
    EXPECT_EQ(SIM(area_bytes)(KX6SIM_AREA_MAIN), 0U);
    EXPECT_EQ(SIM(peek)(KX6SIM_AREA_MAIN, 0, &byte, 1), KX6SIM_NO_CHIP);
    EXPECT_STREQ(SIM(last_error)(), "the socket is empty");

    ASSERT_EQ(SIM(insert_blank_chip)(100, 10, &identity), KX6SIM_OK);
    identity.code_count = 8;
    const std::int32_t refusals[] = {
        SIM(poke)(KX6SIM_AREA_MAIN, 100, &byte, 1),
        SIM(poke)(KX6SIM_AREA_MAIN, ~std::uint64_t{0}, &byte, 1),
        SIM(poke)(KX6SIM_AREA_EEPROM, 0, &byte, 11),
        SIM(poke)(3, 0, &byte, 1),
        SIM(flip_bit)(KX6SIM_AREA_MAIN, 0, 8),
        SIM(insert_blank_chip)(0, 0, &identity),
        SIM(insert_blank_chip)(~std::uint64_t{0}, 0, &identity),
        SIM(set_identity)(&identity),
        SIM(set_faults)("bulkwrite@x:fail", 0),
    };
    for (std::size_t i = 0; i < std::size(refusals); ++i)
        EXPECT_EQ(refusals[i], KX6SIM_BAD_ARGUMENT) << i;
    EXPECT_EQ(SIM(chip_changed)(), 0);
    EXPECT_EQ(SIM(area_bytes)(KX6SIM_AREA_MAIN), 100U);
    EXPECT_EQ(SIM(get_identity)(&identity), KX6SIM_OK);
    EXPECT_EQ(identity.code_count, 2);
}

TEST_F(ControlInterface, EveryAreaBehavesAsItsKindOfMemory) {
    ASSERT_EQ(SIM(insert_blank_chip)(100, 10, &identity), KX6SIM_OK);
    std::int32_t differs = 0;
    kx6sim_difference difference{};
    const auto program = [&](std::int32_t area, std::uint64_t offset, Byte value) {
        return SIM(chip_program)(area, offset, &value, 1, &differs, &difference);
    };
    for (const std::int32_t area : {KX6SIM_AREA_MAIN, KX6SIM_AREA_EEPROM, KX6SIM_AREA_CONFIGURATION}) {
        const auto last = SIM(area_bytes)(area) - 1;
        EXPECT_EQ(program(area, last, 0x0F), KX6SIM_OK);
        EXPECT_EQ(differs, 0);
        EXPECT_EQ(program(area, last, 0xF0), KX6SIM_OK);
        EXPECT_EQ(differs, area == KX6SIM_AREA_MAIN ? 1 : 0) << "only flash cannot set bits";
        EXPECT_EQ(SIM(chip_read)(area, last, &byte, 1), KX6SIM_OK);
        EXPECT_EQ(byte, area == KX6SIM_AREA_MAIN ? 0 : 0xF0);
    }
    EXPECT_EQ(SIM(chip_protect)(), KX6SIM_OK);
    EXPECT_EQ(SIM(chip_read)(KX6SIM_AREA_MAIN, 0, &byte, 1), KX6SIM_REFUSED);
    EXPECT_EQ(program(KX6SIM_AREA_EEPROM, 0, 0), KX6SIM_REFUSED);
    EXPECT_EQ(SIM(chip_erase)(), KX6SIM_OK);
    EXPECT_EQ(SIM(chip_protected)(), 0);
}

TEST_F(ControlInterface, ThePlugInReachesTheSameProgrammer) {
    kx3::ProgrammerLibraries io;
    Byte packet[8] = {0x33, 0x01, 0x80};
    EXPECT_EQ(io.usbcomwrite(packet, sizeof packet), 0);
    EXPECT_EQ(io.usbcomwrite(packet, -1), 1);
    EXPECT_EQ(io.usbcomwrite(packet, 4), 1) << "a packet of a wrong length";
    EXPECT_EQ(io.usbbulkwrite(packet, 1), 1) << "nothing was announced";
    Byte state = 0;
    io.usbbulkread(packet, 1, &state);
    EXPECT_EQ(state, 4);
    kx6sim_counters counters{};
    SIM(get_counters)(&counters);
    EXPECT_EQ(counters.command_packets, 2U);
    EXPECT_EQ(counters.rejected_packets, 2U);
}

TEST(NumbersAsText, FillExactlyTheDigits) {
    kx3::ProgrammerLibraries io;
    EXPECT_EQ(io.datstr(0xA5, 2), u"A5");
    EXPECT_EQ(io.datstr(0x1A5, 2), u"A5");
    EXPECT_EQ(io.datstr(5, 8), u"00000005");
    EXPECT_EQ(io.datstr(-1, 8), u"FFFFFFFF");

    using DatStr = void KX3_STDCALL(char *, std::int32_t, std::int32_t);
    const kx3::platform::DynamicLibrary library("kx3io");
    std::array<char, 4> text{'x', 'x', 'x', 'x'};
    library.function<DatStr>("datstr")(text.data(), 0xBC, 2);
    EXPECT_EQ(text, (std::array<char, 4>{'B', 'C', 'x', 'x'}));
}

} // namespace
} // namespace kx3sim
