// The chip in the socket.
#pragma once

#include "simulator/flash_array.h"
#include "simulator/kx6sim.h"

#include <array>
#include <vector>

namespace kx3sim {

struct Chip {
    FlashArray main;
    std::vector<Byte> eeprom;
    std::array<Byte, KX6SIM_CONFIGURATION_BYTES> configuration{};
    kx6sim_identity identity;
    bool isProtected = false;
    bool changed = false; ///< since it was inserted, loaded or saved

    /// An erased chip. Throws Failure when the identity has no or too many codes.
    Chip(std::size_t mainBytes, std::size_t eepromBytes, const kx6sim_identity &itsIdentity);

    /// Erase everything, the protection too.
    void massErase();
};

/// Throws Failure when there are no or too many device codes.
void requireValid(const kx6sim_identity &identity);

} // namespace kx3sim
