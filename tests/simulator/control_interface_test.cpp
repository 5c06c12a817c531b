// The libraries as the plug-in and a C host see them.
#include "outside/programmer_libraries.h"
#include "simulator/kx6sim.h"
#include "simulator/temporary_folder.h"

#include <array>

namespace kx3sim {
namespace {

using Byte = std::uint8_t;

/// The control interface, bound by name as a host does.
struct Control {
    kx3::platform::DynamicLibrary library{"kx6io"};
    template <class Function> Function *operator()(const char *name) const { return library.function<Function>(name); }
#define BIND(name) decltype(::kx6sim_##name) *name = (*this).operator()<decltype(::kx6sim_##name)>("kx6sim_" #name)
    BIND(interface_version);
    BIND(last_error);
    BIND(reset);
    BIND(insert_blank_chip);
    BIND(load_chip);
    BIND(save_chip);
    BIND(chip_changed);
    BIND(chip_protected);
    BIND(area_bytes);
    BIND(get_identity);
    BIND(set_identity);
    BIND(peek);
    BIND(poke);
    BIND(flip_bit);
    BIND(chip_erase);
    BIND(chip_program);
    BIND(chip_blank_check);
    BIND(chip_read);
    BIND(chip_protect);
    BIND(set_faults);
    BIND(prepare);
    BIND(fetch_report);
    BIND(get_counters);
#undef BIND
};

class ControlInterface : public testing::Test {
  protected:
    ControlInterface() { sim.reset(); }

    Control sim;
    kx6sim_identity identity{0x1E, 2, {0x95, 0x0F}};
    std::int32_t differs = 0;
    kx6sim_difference difference{};
};

TEST_F(ControlInterface, AnEmptySocketIsSaidSo) {
    Byte byte = 0;
    EXPECT_EQ(sim.interface_version(), static_cast<std::uint32_t>(KX6SIM_INTERFACE_VERSION));
    EXPECT_EQ(sim.area_bytes(KX6SIM_AREA_MAIN), 0U);
    EXPECT_EQ(sim.peek(KX6SIM_AREA_MAIN, 0, &byte, 1), KX6SIM_NO_CHIP);
    EXPECT_STREQ(sim.last_error(), "the socket is empty");
    EXPECT_EQ(sim.chip_erase(), KX6SIM_NO_CHIP);
    EXPECT_EQ(sim.save_chip("x"), KX6SIM_NO_CHIP);
}

TEST_F(ControlInterface, BadArgumentsChangeNothing) {
    ASSERT_EQ(sim.insert_blank_chip(100, 10, &identity), KX6SIM_OK);
    Byte byte = 0x55;
    EXPECT_EQ(sim.poke(KX6SIM_AREA_MAIN, 100, &byte, 1), KX6SIM_BAD_ARGUMENT);
    EXPECT_EQ(sim.poke(KX6SIM_AREA_MAIN, ~std::uint64_t{0}, &byte, 1), KX6SIM_BAD_ARGUMENT);
    EXPECT_EQ(sim.poke(KX6SIM_AREA_EEPROM, 0, &byte, 11), KX6SIM_BAD_ARGUMENT);
    EXPECT_EQ(sim.poke(3, 0, &byte, 1), KX6SIM_BAD_ARGUMENT);
    EXPECT_EQ(sim.flip_bit(KX6SIM_AREA_MAIN, 0, 8), KX6SIM_BAD_ARGUMENT);
    EXPECT_EQ(sim.insert_blank_chip(0, 0, &identity), KX6SIM_BAD_ARGUMENT);
    EXPECT_EQ(sim.insert_blank_chip(~std::uint64_t{0}, 0, &identity), KX6SIM_BAD_ARGUMENT);
    identity.code_count = 8;
    EXPECT_EQ(sim.set_identity(&identity), KX6SIM_BAD_ARGUMENT);
    EXPECT_EQ(sim.set_faults("bulkwrite@x:fail", 0), KX6SIM_BAD_ARGUMENT);
    EXPECT_EQ(sim.chip_changed(), 0);
    EXPECT_EQ(sim.area_bytes(KX6SIM_AREA_MAIN), 100U);
}

TEST_F(ControlInterface, EveryAreaBehavesAsItsKindOfMemory) {
    ASSERT_EQ(sim.insert_blank_chip(100, 10, &identity), KX6SIM_OK);
    const Byte first = 0x0F;
    const Byte second = 0xF0;
    for (const std::int32_t area : {KX6SIM_AREA_MAIN, KX6SIM_AREA_EEPROM, KX6SIM_AREA_CONFIGURATION}) {
        const auto last = sim.area_bytes(area) - 1;
        EXPECT_EQ(sim.chip_program(area, last, &first, 1, &differs, &difference), KX6SIM_OK);
        EXPECT_EQ(differs, 0);
        EXPECT_EQ(sim.chip_program(area, last, &second, 1, &differs, &difference), KX6SIM_OK);
        EXPECT_EQ(differs, area == KX6SIM_AREA_MAIN ? 1 : 0) << "only flash cannot set bits";
        Byte now = 0;
        EXPECT_EQ(sim.chip_read(area, last, &now, 1), KX6SIM_OK);
        EXPECT_EQ(now, area == KX6SIM_AREA_MAIN ? first & second : second);
    }
    EXPECT_EQ(sim.chip_blank_check(&differs, &difference), KX6SIM_OK);
    EXPECT_EQ(difference.offset, 99U);
    EXPECT_EQ(sim.chip_protect(), KX6SIM_OK);
    Byte byte = 0;
    EXPECT_EQ(sim.chip_read(KX6SIM_AREA_MAIN, 0, &byte, 1), KX6SIM_REFUSED);
    EXPECT_EQ(sim.chip_program(KX6SIM_AREA_EEPROM, 0, &byte, 1, &differs, &difference), KX6SIM_REFUSED);
    EXPECT_EQ(sim.chip_erase(), KX6SIM_OK);
    EXPECT_EQ(sim.chip_protected(), 0);
    EXPECT_EQ(sim.chip_blank_check(&differs, &difference), KX6SIM_OK);
    EXPECT_EQ(differs, 0);
}

TEST_F(ControlInterface, AChipTravelsThroughItsFile) {
    const test::TemporaryFolder folder;
    const std::string path = (folder / "a.chip").string();
    ASSERT_EQ(sim.insert_blank_chip(100, 0, &identity), KX6SIM_OK);
    EXPECT_EQ(sim.flip_bit(KX6SIM_AREA_MAIN, 99, 7), KX6SIM_OK);
    EXPECT_EQ(sim.chip_changed(), 1);
    EXPECT_EQ(sim.save_chip(path.c_str()), KX6SIM_OK);
    EXPECT_EQ(sim.chip_changed(), 0);
    sim.reset();
    EXPECT_EQ(sim.load_chip((path + "x").c_str()), KX6SIM_FILE_MISSING);
    EXPECT_EQ(sim.load_chip(path.c_str()), KX6SIM_OK);
    Byte byte = 0;
    EXPECT_EQ(sim.peek(KX6SIM_AREA_MAIN, 99, &byte, 1), KX6SIM_OK);
    EXPECT_EQ(byte, 0x7F);
    kx6sim_identity loaded{};
    EXPECT_EQ(sim.get_identity(&loaded), KX6SIM_OK);
    EXPECT_EQ(loaded.maker, identity.maker);
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
    sim.get_counters(&counters);
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
