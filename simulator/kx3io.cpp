// Library kx3io: numbers as text.
#include "platform/dynamic_library.h"
#include "simulator/kx6sim.h"

namespace {

constexpr unsigned bitsPerDigit = 4;
constexpr unsigned bitsPerValue = 32;
constexpr std::uint32_t digitMask = 0xF;

} // namespace

/// Write `value` into `text` as `digits` upper-case hexadecimal digits; no terminator.
extern "C" KX6SIM_API void KX3_STDCALL datstr(char *text, std::int32_t value, std::int32_t digits) {
    if (text == nullptr) return;
    const auto bits = static_cast<std::uint32_t>(value);
    for (std::int32_t i = 0; i < digits; ++i) {
        const std::uint32_t shift = static_cast<std::uint32_t>(digits - 1 - i) * bitsPerDigit;
        text[i] = "0123456789ABCDEF"[shift < bitsPerValue ? (bits >> shift) & digitMask : 0];
    }
}
