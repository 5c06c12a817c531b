// Apart from the benchmarks, so that the compiler cannot see through the calls.
#include "support/bare_session.h"

namespace kx3::bench {

Long ImmediateSessionHost::CompareByte(Byte data, Long address, Long /*mode*/) {
    const auto index = static_cast<std::size_t>(address);
    if (index < expected.size() && expected[index] == data) [[likely]]
        return 0;
    return ++differences, 0;
}

Long ImmediateSessionHost::CompareWord(Byte low, Byte high, Long address, Long /*mode*/, Long mask) {
    const std::size_t index = static_cast<std::size_t>(address) * 2;
    if (index + 1 < expected.size() && expected[index] == low && ((expected[index + 1] ^ high) & mask) == 0) [[likely]]
        return 0;
    return ++differences, 0;
}

} // namespace kx3::bench
