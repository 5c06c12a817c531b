// The plug-in's side of the wire: sends the packets of its operations to the programmer of library kx6io.
#pragma once

#include "doorstep/programmer_libraries.h"
#include "simulator/kx6sim.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <vector>

namespace kx3sim::test {

using kx3::Byte;
using kx3::Integer;
using kx3::Long;
using Bytes = std::vector<Byte>;

/// Run codes.
enum Code : Byte { autos = 1, read, program = 4, blankCheck, verify, protect = 8, erase, fuse, check };

/// A device of one byte per address, in bank 1.
inline kx6sim_geometry device(Long addresses = 0x1000, Long block = 0x400) {
    return {addresses, 1, block, 0, 0, 0, 1, 0, KX6SIM_MODULE_ARM_PRG, 0};
}

inline Bytes pattern(std::size_t count, unsigned salt = 0) {
    Bytes bytes(count);
    for (std::size_t i = 0; i < count; ++i)
        bytes[i] = static_cast<Byte>(i * 31 + (i >> 8) + salt);
    return bytes;
}

/// The last of a command's status reports.
struct Report {
    std::array<Byte, KX6SIM_REPORT_BYTES> bytes{};
    int number = 0; ///< from 1; 0 when none came
    [[nodiscard]] Byte event() const { return bytes[1]; }
    [[nodiscard]] bool passed() const { return bytes[0] == 100 && event() == 0; }
    [[nodiscard]] std::uint32_t address() const { return bytes[3] + 256U * bytes[4] + 65536U * bytes[5]; }
};

/// A programmer that was just switched on, with a device and its blank chip.
struct Packets {
    explicit Packets(const kx6sim_geometry &itsDevice = test::device(), const char *faults = "") : device(itsDevice) {
        kx6sim_reset();
        const kx6sim_identity identity{0x1F, 2, {0x95, 0x0F}};
        EXPECT_EQ(kx6sim_insert_blank_chip(chipBytes(), 0, &identity), KX6SIM_OK);
        EXPECT_EQ(kx6sim_set_faults(faults, 1), KX6SIM_OK);
        prepare();
    }
    void prepare() {
        EXPECT_EQ(kx6sim_prepare(&device), KX6SIM_OK) << kx6sim_last_error();
        EXPECT_EQ(download(), 0);
    }

    Integer send(Bytes packet, std::size_t count) {
        packet.resize(count);
        return io.usbcomwrite(packet.data(), static_cast<Long>(count));
    }
    Integer write(Bytes data) { return io.usbbulkwrite(data.data(), static_cast<Long>(data.size())); }
    Integer download() { return send({0x33, 0x01, 0x80}, 8) != 0 ? Integer{1} : write(algorithm); }
    void sendData(const Bytes &data) {
        EXPECT_EQ(send({0x0A, 0, 0x80, 2}, 4), 0);
        EXPECT_EQ(write(data), 0);
    }
    /// State of a read of `destination.size()` bytes; 1 when its request is refused.
    Byte fetch(Byte chunk, Bytes &destination) {
        state = send({0x0A, chunk, 0x40, 2}, 8) == 0 ? 0 : 1;
        if (state == 0) io.usbbulkread(destination.data(), static_cast<Long>(destination.size()), &state);
        return state;
    }
    static Report lastReport() {
        Report report;
        while (kx6sim_fetch_report(report.bytes.data()) != 0)
            ++report.number;
        return report;
    }

    /// Run packet: code, bank with the mark of the last block, block, configuration.
    Bytes runPacket(Byte code, Byte block = 0, bool isLast = false) const {
        Bytes packet{0x34, code, static_cast<Byte>(isLast ? 0x81 : 1), block, 0};
        packet.insert(packet.end(), configuration.begin(), configuration.end());
        return packet;
    }
    /// Runs without data send none.
    Report run(Byte code, const Bytes &data = {}, Byte block = 0, bool isLast = false) {
        if (!data.empty()) sendData(data);
        return send(runPacket(code, block, isLast), 16) == 0 ? lastReport() : Report{};
    }
    [[nodiscard]] std::size_t chipBytes() const { return static_cast<std::size_t>(device.addresses); }
    /// The chip's main memory.
    Bytes chip() {
        Bytes memory(chipBytes());
        EXPECT_EQ(kx6sim_peek(KX6SIM_AREA_MAIN, 0, memory.data(), memory.size()), KX6SIM_OK);
        return memory;
    }
    static std::uint64_t unfetched() {
        kx6sim_counters now{};
        kx6sim_get_counters(&now);
        return now.unfetched_bytes;
    }

    kx3::ProgrammerLibraries io; ///< as the plug-in binds them
    kx6sim_geometry device;
    Byte state = 0; ///< of the newest read
    Bytes algorithm = pattern(0x300, 1);
    Bytes configuration = pattern(11, 7);
};

} // namespace kx3sim::test
