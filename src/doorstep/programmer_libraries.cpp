#include "doorstep/programmer_libraries.h"

#include "base/text.h"

#include <string_view>

namespace kx3 {

const platform::DynamicLibrary &ProgrammerLibraries::io() {
    if (!io_) io_.emplace("kx6io");
    return *io_;
}

const platform::DynamicLibrary &ProgrammerLibraries::text() {
    if (!text_) text_.emplace("kx3io");
    return *text_;
}

Integer ProgrammerLibraries::usbcomwrite(Byte *packet, Long count) {
    if (comWrite_ == nullptr) comWrite_ = io().function<ComWrite>("usbcomwrite");
    return comWrite_(packet, count);
}

Integer ProgrammerLibraries::usbbulkwrite(Byte *data, Long count) {
    if (bulkWrite_ == nullptr) bulkWrite_ = io().function<BulkWrite>("usbbulkwrite");
    return bulkWrite_(data, count);
}

void ProgrammerLibraries::usbbulkread(Byte *destination, Long count, Byte *state) {
    if (bulkRead_ == nullptr) bulkRead_ = io().function<BulkRead>("usbbulkread");
    bulkRead_(destination, count, state);
}

std::u16string ProgrammerLibraries::datstr(Long value, Long digits) {
    if (datStr_ == nullptr) datStr_ = text().function<DatStr>("datstr");
    // The library fills exactly `digits` characters; the rest gives room for a terminator.
    char buffer[16] = {};
    datStr_(buffer, value, digits);
    return fromUtf8(std::string_view(buffer, static_cast<std::size_t>(digits)));
}

} // namespace kx3
