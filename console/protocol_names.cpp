#include "protocol_names.h"

#include <array>
#include <fmt/format.h>

namespace kx3console {

namespace {

struct CodeName {
    std::uint8_t code;
    std::string_view name;
};

constexpr std::array stages{
    CodeName{0x1E, "erase"},  CodeName{0x28, "blank check"},   CodeName{0x32, "program"},
    CodeName{0x3C, "verify"}, CodeName{0x46, "configuration"}, CodeName{0x50, "protection"},
};
constexpr std::array services{
    CodeName{0x1A, "ask for the firmware version"},
    CodeName{0x1D, "read the chip's identifier"},
    CodeName{0x1E, "stop"},
};
constexpr std::array events{
    CodeName{0x00, "none"},
    CodeName{StatusReport::compareError, "compare error"},
    CodeName{StatusReport::identityError, "identity error"},
    CodeName{StatusReport::stoppedEvent, "stopped"},
};

template <class Rows> std::string_view nameOf(const Rows &rows, std::uint8_t code) {
    for (const CodeName &row : rows)
        if (row.code == code) return row.name;
    return {};
}

constexpr std::uint8_t toProgrammer = 0x80;
constexpr std::uint8_t lastBlock = 0x80;

std::string runName(std::span<const std::uint8_t> packet) {
    return fmt::format("run {} in bank {}, block {}{}", packet[1] - 1, packet[2] & ~lastBlock,
                       packet[3] | packet[4] << 8, (packet[2] & lastBlock) != 0 ? " (last)" : "");
}

std::string controlName(std::span<const std::uint8_t> packet) {
    const std::string_view service = nameOf(services, packet[1]);
    if (!service.empty()) return std::string(service);
    return packet.size() < 5 ? "run" : runName(packet);
}

std::string dataName(std::span<const std::uint8_t> packet) {
    if (packet[2] == toProgrammer) return fmt::format("announce data for the programmer, bank {}", packet[3]);
    return fmt::format("request data from the programmer, part {}, bank {}", packet[1], packet[3]);
}

} // namespace

std::string packetName(std::span<const std::uint8_t> packet) {
    if (packet.size() < 4) return "short packet";
    switch (packet[0]) {
    case 0x5A: return fmt::format("signature {}", packet[1]);
    case 0x33: return packet[2] == toProgrammer ? "announce the algorithm image" : "request the algorithm image";
    case 0x34: return controlName(packet);
    case 0x0A: return dataName(packet);
    default: return "unknown packet";
    }
}

StatusReport StatusReport::of(std::span<const std::uint8_t> bytes) {
    const auto word = [bytes](std::size_t at) { return static_cast<std::uint16_t>(bytes[at] | bytes[at + 1] << 8); };
    return {bytes[0], bytes[1],
            bytes[2], static_cast<std::uint32_t>(word(3)) | static_cast<std::uint32_t>(word(5)) << 16,
            word(7),  word(9)};
}

std::string_view StatusReport::eventName() const {
    const std::string_view name = nameOf(events, event);
    return name.empty() ? "unknown" : name;
}

std::string_view StatusReport::stageName() const { return nameOf(stages, stage); }

} // namespace kx3console
