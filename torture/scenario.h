// What is tortured: devices, operations, and how each ends when nothing fails.
#pragma once

#include "base/types.h"

#include <string>
#include <vector>

namespace kx3::torture {

enum class Kind : std::uint8_t { arm, window, editor, note, attach, attachAlone };

/// A device and the host's settings for it.
struct Device {
    const char *name;
    Integer model = 80; ///< 74 and above: module arm_prg_32f; below: arm_prg, or with `selection` 0 the window
    Byte width = 1;
    Long addresses = 0x100;
    Long block = 0x100;
    Long margin = 0;
    Byte family = 0;
    Byte selection = 0x40;
    Long eepromBytes = 0;
    bool hasChip = true;
};

/// What stands in the chip before the operation.
enum class ChipState : std::uint8_t { blank, programmed, differs, dirty, isProtected };

struct Scenario {
    std::string name;
    const Device *device;
    Kind kind;
    Byte operation; ///< of a session; mode of an editor; number of a note
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
