#include "notes/notes.h"

namespace kx3 {

void mpu6warn(const Context & /*context*/, Byte & /*no*/) {
    raise(ErrorNumber::notAvailable, u"Device notes are not available in this version");
}

} // namespace kx3
