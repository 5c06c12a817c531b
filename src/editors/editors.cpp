#include "editors/editors.h"

namespace kx3 {

void Editors::open(Byte /*mode*/) {
    raise(ErrorNumber::notAvailable, u"The configuration editors are not available in this version");
}

} // namespace kx3
