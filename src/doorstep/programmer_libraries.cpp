#include "doorstep/programmer_libraries.h"

#include "base/text.h"

#include <string_view>

namespace kx3 {

Integer ProgrammerLibraries::usbcomwrite(Byte *packet, Long count) { return usbcomwriteFunction()(packet, count); }

Integer ProgrammerLibraries::usbbulkwrite(Byte *data, Long count) { return usbbulkwriteFunction()(data, count); }

void ProgrammerLibraries::usbbulkread(Byte *destination, Long count, Byte *state) {
    usbbulkreadFunction()(destination, count, state);
}

std::u16string ProgrammerLibraries::datstr(Long value, Long digits) {
    // The library fills exactly `digits` characters; the rest gives room for a terminator.
    char buffer[16] = {};
    datstrFunction()(buffer, value, digits);
    return fromUtf8(std::string_view(buffer, static_cast<std::size_t>(digits)));
}

} // namespace kx3
