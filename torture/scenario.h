// What is tortured: devices, operations, and how each ends when nothing fails.
#pragma once

#include "rig/apartment.h"

namespace kx3::torture {

enum class Kind : std::uint8_t { arm, window, editor, note, attach, attachAlone };

/// A device and the chip in the socket.
struct Target {
    const char *name;
    test::Device device{};
    Long eepromBytes = 0;
    bool hasChip = true;
};

/// What stands in the chip before the operation.
enum class ChipState : std::uint8_t { blank, programmed, differs, dirty, isProtected };

struct Scenario {
    std::string name;
    const Target *target = nullptr;
    Kind kind = Kind::arm;
    Byte operation = 0; ///< of a session; mode of an editor; number of a note
    ChipState before = ChipState::blank;
    bool passes = true; ///< the clean run ends with the pass signal
    bool bufferChanges = false;
    std::vector<Byte> sequence{}; ///< steps of the window's automatic sequence
    bool chipIdIsChecked = false; ///< and matches
    bool chipIdDiffers = false;   ///< the user ignores it
};

/// All of them, those of one device side by side.
[[nodiscard]] const std::vector<Scenario> &allScenarios();

} // namespace kx3::torture
