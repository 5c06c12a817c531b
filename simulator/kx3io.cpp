// Library kx3io: numbers as text.
#include "base/types.h"
#include "platform/dynamic_library.h"
#include "simulator/kx6sim.h"

using kx3::Byte;
using kx3::Integer;
using kx3::Long;

extern "C" {

#define KX3_PROGRAMMER_FUNCTION(name, library, result, parameters) KX6SIM_API result KX3_STDCALL name parameters;
#include "outside/programmer_functions.inc"

/// Write `value` into `text` as `digits` upper-case hexadecimal digits; no terminator.
void KX3_STDCALL datstr(char *text, Long value, Long digits) {
    if (text == nullptr) return;
    auto rest = static_cast<std::uint32_t>(value);
    for (Long i = digits; i-- > 0; rest >>= 4U)
        text[i] = "0123456789ABCDEF"[rest & 0xFU];
}

} // extern "C"
