#include "host/buffer_init.h"

namespace kx3 {

void sinitmpu6(BlockArrays & /*blocks*/) {
    raise(ErrorNumber::notAvailable, u"Buffer defaults are not available in this version");
}

} // namespace kx3
