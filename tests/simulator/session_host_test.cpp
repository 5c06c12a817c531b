// The session host: comparing, operations that it carries out itself, and the drivers' on the programmer.
#include "base/error.h"
#include "rig/simulated.h"

#include <gtest/gtest.h>

namespace kx3sim {
namespace {

using namespace kx3::test;

constexpr Byte autos = 0, read = 2, program = 3, blankCheck = 4, verify = 5, protect = 7, erase = 8, fuse = 9,
               check = 10, unknown = 11;

TEST(SessionHost, DrivesWhateverTheDriversSend) {
    const Device devices[] = {
        {.addresses = 0x18001, .block = 0xC000}, // one address in the last block, which no verify reads
        {.width = 2, .addresses = 0x6000, .block = 0x6000, .first = 0x123, .bank = 1},
        {.addresses = 0x28000, .block = 0x10000, .bank = 1, .model = modelArm},
        {.addresses = 0x1000, .block = 0x2000, .first = 0x123, .bank = 2, .model = modelArm},
    };
    for (const Device &device : devices) {
        PlugIn plugIn(device);
        const auto first = static_cast<std::size_t>(device.first) * device.width;
        const std::size_t count = static_cast<std::size_t>(device.bytes()) - first;
        Bytes image = plugIn.buffer();
        image.resize(count);
        for (const Byte operation : {blankCheck, program, verify, erase, autos, verify, read})
            EXPECT_EQ(plugIn.run(operation), Signal::pass) << int{operation} << plugIn.log() << plugIn.sim->trouble();
        Bytes whole(first, 0xFF);
        whole.insert(whole.end(), image.begin(), image.end());
        EXPECT_EQ(plugIn.chip(), whole);
        EXPECT_EQ(plugIn.ApartmentOn::buffer(static_cast<Long>(count)), image);
    }
    // More than one read chunk of words: the driver counts a last block's chunks in addresses.
    PlugIn plugIn({.width = 2, .addresses = 0x5000, .block = 0x5000, .model = modelArm});
    EXPECT_EQ(plugIn.run(autos), Signal::pass);
    EXPECT_EQ(plugIn.run(verify), Signal::fail);
    EXPECT_NE(plugIn.log().find("bytes of the device were not read"), std::string::npos) << plugIn.log();
}

TEST(SessionHost, CarriesOutWhatTheWindowAnnounces) {
    PlugIn plugIn({.width = 2, .addresses = 0x800, .block = 0x800, .model = modelArm, .selection = 0},
                  {.maker = 0x1E, .deviceCodes = {0x95, 0x0F}, .eepromBytes = 8});
    plugIn.ui->onYield = [&] { plugIn.sim->carryOut(plugIn.host.prgresult(1)); };
    plugIn.host.bvcc(0) = 500;
    constexpr Long behind = 0x1000, eepromPlace = behind + pinDrivenConfigurationBytes, end = eepromPlace + 8;
    const Bytes whole = plugIn.ApartmentOn::buffer(end); // configuration bytes and EEPROM, too
    const std::pair<Byte, Byte> codeOfOperation[] = {{blankCheck, 0}, {autos, 0},   {check, 0}, {protect, 0}, {read, 1},
                                                     {program, 1},    {verify, 1},  {erase, 0}, {check, 1},   {fuse, 0},
                                                     {check, 0},      {unknown, 3}, {autos, 0}};
    for (const auto &[operation, code] : codeOfOperation) {
        EXPECT_EQ(plugIn.run(operation), code == 0 ? Signal::pass : Signal::fail) << int{operation};
        EXPECT_EQ(plugIn.host.prgresult(0), code) << int{operation};
    }
    for (const Long place : {eepromPlace + 3, behind - 1, 0x123}) {
        plugIn.host.ibuffer(place) ^= 1;
        EXPECT_EQ(plugIn.run(verify), Signal::fail);
        EXPECT_EQ(plugIn.sim->mismatches().firstAddress, place);
    }
    plugIn.host.ibuffer(behind) ^= 1;
    EXPECT_EQ(plugIn.run(read), Signal::pass);
    EXPECT_EQ(plugIn.ApartmentOn::buffer(end), whole);
    plugIn.host.bvcc(0) = 0;
    EXPECT_EQ(plugIn.run(erase), Signal::fail) << "no supply";
}

TEST(SessionHost, ComparesWithTheBuffer) {
    Bytes ibuf1(20), buffer(100, 0x55), result(3);
    std::u16string lines;
    HostBlocks blocks{};
    blocks.ibuf1 = ibuf1;
    blocks.ibuffer = buffer;
    blocks.prgresult = result;
    blocks.appendText = [&](Long, std::u16string_view text) { lines += text; };
    SessionHost sim{{}};
    EXPECT_THROW((void)sim.StartCheck(), kx3::Error) << "no blocks yet";
    sim.setBlocks(blocks);

    EXPECT_EQ(sim.CompareByte(0x55, 99, 3) + sim.CompareWord(0x55, 0x95, 49, 3, 0x3F), 0);
    EXPECT_EQ(result[0], 0) << "masked bits do not count";
    EXPECT_EQ(sim.CompareWord(0x55, 0x97, 10, 3, 0x3F), 0);
    EXPECT_EQ(result[0], 1) << "the host leaves the result of a comparison";
    EXPECT_EQ(lines, u"Address:0000000AH  Device Data:9755H  Buffer Data:5555H\n");
    const Mismatches &found = sim.mismatches();
    EXPECT_EQ(found.firstAddress, 21);
    EXPECT_EQ(found.firstDevice, 0x17);
    EXPECT_EQ(found.firstBuffer, 0x15);
    result[0] = 2;
    for (Long address = 10; address < 50; ++address)
        EXPECT_EQ(sim.CompareByte(0x5A, address, 3), 0);
    EXPECT_EQ(result[0], 2) << "a stop request is kept";
    EXPECT_EQ(found.bytes, 41U);
    EXPECT_EQ(found.zeroInsteadOfOne, 80U);
    EXPECT_EQ(found.oneInsteadOfZero, 81U);
    EXPECT_EQ(std::ranges::count(lines, u'\n'), 17) << "16 differences";
    for (const Long address : {-1, 100, std::numeric_limits<Long>::max(), std::numeric_limits<Long>::min()}) {
        EXPECT_THROW((void)sim.CompareByte(0x55, address, 3), kx3::Error) << address;
        EXPECT_THROW((void)sim.CompareWord(0x55, 0x55, address, 3, 0xFF), kx3::Error) << address;
    }
}

} // namespace
} // namespace kx3sim
