#include "session/usbmpu6prg.h"

namespace kx3 {

void usbmpu6prg::wmpu0() {
    raise(ErrorNumber::notAvailable, u"Sessions of non-ARM devices are not available in this version");
}

} // namespace kx3
