#include "simulator/chip.h"

#include "simulator/failure.h"

#include <algorithm>

namespace kx3sim {

void requireValid(const kx6sim_identity &identity) {
    if (identity.code_count == 0 || identity.code_count > KX6SIM_MAX_DEVICE_CODES)
        throw Failure(KX6SIM_BAD_ARGUMENT, "a chip has 1 to " + std::to_string(KX6SIM_MAX_DEVICE_CODES) +
                                               " device-code bytes, not " + std::to_string(identity.code_count));
}

Chip::Chip(std::size_t mainBytes, std::size_t eepromBytes, const kx6sim_identity &itsIdentity)
    : main(mainBytes), eeprom(eepromBytes, FlashArray::erased), identity(itsIdentity) {
    requireValid(identity);
    configuration.fill(FlashArray::erased);
}

void Chip::massErase() {
    main.eraseAll();
    std::fill(eeprom.begin(), eeprom.end(), FlashArray::erased);
    configuration.fill(FlashArray::erased);
    isProtected = false;
    changed = true;
}

} // namespace kx3sim
