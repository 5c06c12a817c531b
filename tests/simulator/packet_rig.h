// The plug-in's side of the wire: sends the packets of its operations to a programmer.
#pragma once

#include "simulator/simulated_programmer.h"

#include <gtest/gtest.h>

#include <vector>

namespace kx3sim::test {

using Bytes = std::vector<Byte>;
using protocol::Operation;
using protocol::Report;
using protocol::StageCode;

/// A device in bank 1; without arguments one of 1000 hex bytes in blocks of 400.
inline kx6sim_geometry device(int addresses = 0x1000, int width = 1, int block = 0x400, int first = 0, int margin = 0,
                              Byte module = KX6SIM_MODULE_ARM_PRG, Byte family = 0) {
    kx6sim_geometry geometry{};
    geometry.addresses = addresses;
    geometry.bytes_per_address = width;
    geometry.block_addresses = block;
    geometry.first_address = first;
    geometry.verify_margin = margin;
    geometry.bank = 1;
    geometry.family = family;
    geometry.module = module;
    return geometry;
}

inline Bytes pattern(std::size_t count, unsigned salt = 0) {
    Bytes bytes(count);
    for (std::size_t i = 0; i < count; ++i)
        bytes[i] = static_cast<Byte>((i * 31 + (i >> 8) + salt) & 0xFF);
    return bytes;
}

/// How a command ended.
struct Outcome {
    std::vector<Report> reports;
    [[nodiscard]] Byte event() const { return reports.empty() ? Byte{0} : reports.back()[1]; }
    [[nodiscard]] bool passed() const { return !reports.empty() && event() == 0 && reports.back()[0] == 0x64; }
    [[nodiscard]] std::uint32_t address() const {
        const Report &last = reports.back();
        return last[3] + 256U * last[4] + 65536U * last[5] + 16777216U * last[6];
    }
    /// Stages in the order of their first report, verify passes as 3C01 and 3C02.
    [[nodiscard]] std::vector<unsigned> stages() const {
        std::vector<unsigned> seen;
        for (const Report &report : reports) {
            const unsigned stage = report[2] == 0x3C ? 0x3C00U + report[3] : report[2];
            if (seen.empty() || seen.back() != stage) seen.push_back(stage);
        }
        return seen;
    }
};

struct PacketRig {
    explicit PacketRig(const kx6sim_geometry &itsGeometry = device(), std::string_view faults = {})
        : geometry(itsGeometry) {
        programmer.insert(Chip(imageBytes(), 0, {0x1F, 2, {0x95, 0x0F}}));
        programmer.setFaults(FaultPlan(faults, 1));
        programmer.prepare(geometry);
        download(algorithm);
    }

    [[nodiscard]] std::size_t imageBytes() const { return static_cast<std::size_t>(mainBytes(geometry)); }
    Integer send(Bytes packet, std::size_t count) {
        packet.resize(count);
        return programmer.comWrite(packet);
    }
    Integer download(const Bytes &image) {
        EXPECT_EQ(send({0x33, 0x01, 0x80}, 8), 0);
        return programmer.bulkWrite(image);
    }
    Byte read(Bytes &destination) {
        Byte state = 0;
        programmer.bulkRead(destination, &state);
        return state;
    }
    Outcome reports() {
        Outcome outcome;
        Report report;
        while (programmer.fetchReport(report))
            outcome.reports.push_back(report);
        return outcome;
    }
    Outcome command(const Bytes &packet) {
        (void)send(packet, 16);
        return reports();
    }
    /// Announce data and send it.
    void sendData(const Bytes &data) {
        EXPECT_EQ(send({0x0A, 0x00, 0x80, blockDataBank(geometry)}, 4), 0);
        EXPECT_EQ(programmer.bulkWrite(data), 0);
    }

    /// Run packet of an operation: code, bank with the mark of the last block, block, configuration.
    Bytes runPacket(Operation operation, unsigned block, bool isLast) const {
        const auto code = static_cast<Byte>(operation == Operation::read ? 2U : static_cast<unsigned>(operation) + 1);
        Bytes packet{0x34, code, static_cast<Byte>(geometry.bank | (isLast ? 0x80U : 0U)),
                     static_cast<Byte>(block & 0xFFU), static_cast<Byte>(block >> 8U)};
        packet.insert(packet.end(), configuration.begin(), configuration.end());
        return packet;
    }
    Outcome direct(Operation operation) { return command(runPacket(operation, 0, false)); }

    Outcome sendBlock(Operation operation, const Bytes &data, unsigned block, bool isLast) {
        sendData(data);
        return command(runPacket(operation, block, isLast));
    }
    /// Send a whole image block by block; the outcome of the last run.
    Outcome sendImage(Operation operation, const Bytes &image) {
        Outcome outcome;
        const auto blockBytes = static_cast<std::size_t>(geometry.block_addresses * geometry.bytes_per_address);
        for (std::size_t offset = 0; offset < image.size(); offset += blockBytes) {
            const std::size_t count = std::min(blockBytes, image.size() - offset);
            const auto first = image.begin() + static_cast<std::ptrdiff_t>(offset);
            outcome = sendBlock(operation, Bytes(first, first + static_cast<std::ptrdiff_t>(count)),
                                static_cast<unsigned>(offset / blockBytes), offset + count == image.size());
            if (!outcome.passed()) break;
        }
        return outcome;
    }
    /// Read the device block by block in chunks; empty when a transfer fails.
    Bytes readImage(std::size_t chunk = 0x200) {
        Bytes image;
        for (unsigned block = 0;; ++block) {
            const std::optional<BlockRange> range = blockRange(geometry, Operation::read, block);
            if (!range) return image;
            if (!command(runPacket(Operation::read, block, range->isLast)).passed()) return {};
            std::size_t left = range->addresses * static_cast<std::size_t>(geometry.bytes_per_address);
            for (unsigned k = 0; left > 0; ++k) {
                EXPECT_EQ(send({0x0A, static_cast<Byte>(k), 0x40, blockDataBank(geometry)}, 8), 0);
                Bytes data(std::min(chunk, left));
                if (read(data) != 2) return {};
                image.insert(image.end(), data.begin(), data.end());
                left -= data.size();
            }
        }
    }
    Bytes chipImage() {
        Bytes image(programmer.chip().main.size());
        programmer.chip().main.read(0, image);
        return image;
    }

    kx6sim_geometry geometry;
    Bytes algorithm = pattern(0x300, 1);
    Bytes configuration = pattern(protocol::configurationBytes, 7);
    SimulatedProgrammer programmer;
};

} // namespace kx3sim::test
