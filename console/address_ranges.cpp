#include "address_ranges.h"

#include <fmt/format.h>

namespace kx3console {

std::string rangesText(const AddressRanges &ranges) {
    constexpr std::size_t most = 4;
    std::string text;
    std::size_t shown = 0;
    for (const AddressRange &run : ranges) {
        if (shown == most) return text + fmt::format(" and {} more", ranges.iterative_size() - most);
        text += fmt::format("{}0x{:X}", shown++ == 0 ? "" : ", ", run.lower());
        if (run.upper() - run.lower() > 1) text += fmt::format("-0x{:X}", run.upper() - 1);
    }
    return text;
}

} // namespace kx3console
