// The programmer's protocol in words, for traces and messages.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace kx3console {

/// What a command packet asks for: "signature", "run operation 3, block 5 (last)", ....
[[nodiscard]] std::string packetName(std::span<const std::uint8_t> packet);

/// The programmer's status report.
struct StatusReport {
    static constexpr std::uint8_t compareError = 0xFA;
    static constexpr std::uint8_t identityError = 0xF9;
    static constexpr std::uint8_t stoppedEvent = 0x1E;

    std::uint8_t progress;
    std::uint8_t event;
    std::uint8_t stage;
    std::uint32_t address;    ///< of a compare error
    std::uint16_t deviceData; ///< of a compare error; a byte device uses the low byte
    std::uint16_t bufferData; ///< of a compare error while programming

    [[nodiscard]] static StatusReport of(std::span<const std::uint8_t> bytes);
    [[nodiscard]] std::string_view eventName() const;
    /// Empty for a value that is no stage.
    [[nodiscard]] std::string_view stageName() const;
};

} // namespace kx3console
